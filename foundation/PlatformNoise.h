#pragma once

#include <QString>
#include <QtGlobal>

/// Keeps Qt's remarks about what a platform without a screen cannot do ("This plugin does not support …") off the
/// terminal; everything else is printed as before. For windows that are drawn in memory.
inline void hidePlatformLimits()
{
    static QtMessageHandler before = nullptr;
    before = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& text) {
        if (!text.startsWith(QStringLiteral("This plugin does not support")) && before)
            before(type, context, text);
    });
}
