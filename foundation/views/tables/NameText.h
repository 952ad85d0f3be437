#pragma once

#include <QFontMetrics>
#include <QString>

/// Names of files, folders and buckets as they are shown. Functions of values.

/// The name with what could forge or break a line made visible: control characters, line breaks and marks that turn the
/// direction of text around become U+FFFD. Everything else stays.
QString showableName(QString name);

/// A text for a label that wraps: every long run without a space gets places to break, which cannot be seen. Not for
/// texts that are copied or compared.
QString breakable(const QString& text);

/// The extension with its dot, or nothing: at most 10 characters after the last dot, which is not the first character.
QString extensionOf(const QString& name);

/// `name` shortened to `width` in its middle; the extension stays as long as it fits beside a few letters.
QString elidedName(const QString& name, const QFontMetrics& metrics, int width);
