#pragma once

#include "foundation/log/LogEntry.h"

#include <QString>

/// Decides which entries the log window shows.
struct LogFilter {
    B2LogLevel minimumLevel = B2LogLevel::info;
    QString searchText; ///< Empty shows all; otherwise it must occur in message, area or detail, in any case.

    bool shows(const LogEntry& entry) const;
};
