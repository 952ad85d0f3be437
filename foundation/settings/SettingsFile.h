#pragma once

#include <QJsonObject>
#include <QString>

#include <chrono>
#include <expected>
#include <filesystem>
#include <optional>
#include <set>
#include <system_error>

/// Reads and writes the file of the settings, which several programs may use at once. Every call blocks; from any
/// thread.

/// The content of the file.
struct SettingsContent {
    enum class State {
        absent,
        valid,
        damaged,    ///< Not the settings' form, too large, or not a regular file.
        unreadable, ///< `error` says why.
    };

    State state = State::absent;
    QJsonObject values;
    std::error_code error;
};

SettingsContent readSettings(const std::filesystem::path& file);

/// Moves a damaged file out of the way, to its name with ".damaged-1" or the next free number.
///
/// @returns the new name. No error and no name when the file is in order again, or gone: another program has set it
///          aside or written it in the meantime.
std::expected<std::optional<std::filesystem::path>, std::error_code> setAsideDamaged(const std::filesystem::path& file);

/// Values to write: all that one program knows, and which of them it has changed.
struct SettingsChange {
    QJsonObject values;
    std::set<QString> changedKeys; ///< A key without a value was removed.
};

struct SettingsMerge {
    QJsonObject values;                            ///< The content of the file from now on.
    std::error_code error;                         ///< Nothing was written.
    std::optional<std::filesystem::path> setAside; ///< Where a damaged file was moved to.
};

/// Writes the changed keys over those in the file and keeps all others as the file has them. A file that is missing or
/// damaged gets everything that the program knows; one that cannot be read is left alone.
///
/// Programs that write at the same time do so one after the other, under a lock beside the file ("settings.json.lock").
///
/// @param lockLimit  how long to wait for another program's write.
SettingsMerge mergeSettings(
    const std::filesystem::path& file, const SettingsChange& change, std::chrono::milliseconds lockLimit);

/// The file of the lock.
std::filesystem::path settingsLock(const std::filesystem::path& file);
