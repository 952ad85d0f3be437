#pragma once

#include <QFontMetrics>
#include <QString>

/// Names of files, folders and buckets as they are shown. Functions of values.

/// Returns the name with misleading characters made visible: control characters, line breaks and marks that reverse the
/// direction of text become U+FFFD.
QString showableName(QString name);

/// Returns a text for a label that wraps: long runs without a space get invisible places to break. Not for texts that
/// are copied or compared.
QString breakable(const QString& text);

/// Returns the extension with its dot, or nothing: at most 10 characters after the last dot, which is not the first
/// character.
QString extensionOf(const QString& name);

/// Returns `name` shortened to `width` in its middle; the extension stays as long as it fits beside a few letters.
QString elidedName(const QString& name, const QFontMetrics& metrics, int width);
