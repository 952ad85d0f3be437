#pragma once

#include "B2Kit/B2Log.h"

#include <QUuid>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

/// One line of the activity log.
struct LogEntry {
    QUuid id; ///< Its identity in tables and when files are merged.
    std::chrono::system_clock::time_point date;
    B2LogLevel level = B2LogLevel::info;
    std::string category; ///< The area: "app", "auth", "keys", "transfer", "bucket", "table" and the like.
    std::string message;  ///< One line.
    std::optional<std::string> detail;

    LogEntry() = default;
    /// Makes an entry with the present time and a new id.
    explicit LogEntry(B2LogEvent event);

    bool operator==(const LogEntry&) const = default;

    /// "2026-08-01 14:03:22.120", in the local time zone.
    std::string formattedDate() const;

    /// Returns the text form for copies and exports. The message is one line with the detail indented below it,
    /// whatever characters they contain, so that no text can forge another line.
    std::string formatted() const;
};

/// The entry as one line of JSON without its line feed: `id` in upper case, `date` in seconds since
/// 2001-01-01 00:00:00 UTC, `level` as a number, `detail` only when there is one.
std::string encodeLogLine(const LogEntry& entry);

/// Returns nothing for a damaged line.
std::optional<LogEntry> decodeLogLine(std::string_view line);
