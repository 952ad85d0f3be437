#pragma once

#include "foundation/log/LogEntry.h"

#include <QString>

/// Which entries the log window shows.
struct LogFilter {
    B2LogLevel minimumLevel = B2LogLevel::info;
    QString searchText; ///< Empty shows all; else it occurs in message, area or detail, whatever its case.

    bool shows(const LogEntry& entry) const;
};
