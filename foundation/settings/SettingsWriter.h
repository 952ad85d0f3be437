#pragma once

#include "foundation/settings/SettingsFile.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// Writes the settings on another thread, one write at a time; of several that wait, only the newest.
///
/// Changes are numbered by their owner, in rising order. A change that was written is never written again: another
/// program may have changed the same key since.
class SettingsWriter : public std::enable_shared_from_this<SettingsWriter> {
public:
    struct Job {
        QJsonObject values;                       ///< All that the program knows.
        std::map<QString, std::uint64_t> changed; ///< The number of the last change of each key not known as written.
        std::uint64_t number = 0;                 ///< The last change of all.
    };

    /// Reports for the owner.
    struct News {
        std::uint64_t written = 0;          ///< Changes up to this number are in the file.
        std::optional<QJsonObject> values;  ///< The content of the file after the last write.
        std::vector<std::string> sentences; ///< Problems with the file, to be shown.
    };

    /// @param haveNews  called from another thread when `takeNews` has something new.
    SettingsWriter(std::filesystem::path file, std::chrono::milliseconds lockLimit, std::function<void()> haveNews);

    /// Writes the job, or the one handed over after it, soon.
    void hand(Job job);

    /// Waits until nothing is left to write, at most `limit`.
    ///
    /// @returns false when it took longer, or the last write failed.
    bool wait(std::chrono::milliseconds limit);

    bool hasFailed() const;

    News takeNews();

    /// Ends the calls of `haveNews`.
    void detach();

private:
    static void run(void* context);
    void writeWaiting();
    void report(const SettingsMerge& merge);

    const std::filesystem::path file_;
    const std::chrono::milliseconds lockLimit_;

    mutable std::mutex mutex_;
    std::condition_variable idle_;
    std::function<void()> haveNews_;
    std::optional<Job> waiting_;
    News news_;
    std::uint64_t written_ = 0;
    bool isBusy_ = false;
    bool hasFailed_ = false;
};
