#pragma once

#include <QString>

#include <string>
#include <string_view>

/// Texts are UTF-8 everywhere but in widgets; bytes that are not valid UTF-8 become U+FFFD.
inline QString toQString(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

inline std::string fromQString(const QString& text)
{
    return text.toStdString();
}
