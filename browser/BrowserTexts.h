#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

/// Sentences around the browser's table, in the user's locale.

/// The numbers in the line under the table.
struct BrowserCounts {
    std::size_t loaded = 0; ///< Rows of the folder read so far.
    std::size_t shown = 0;  ///< Those that pass the filter.
    bool isFiltered = false;
    bool hasMore = false; ///< The folder has further pages.
    std::size_t selected = 0;
    std::optional<std::int64_t> selectedBytes; ///< Of the files among them; unset for folders alone.
};

/// "{n} items", "{n} items so far", "{k} of {n} selected, {size}", or how many names a filter found.
std::string statusText(const BrowserCounts& counts);

/// "cached {time}": the time of the day, with the date when it was not today.
std::string cachedText(std::chrono::system_clock::time_point fetchedAt, std::chrono::system_clock::time_point now);

/// Says which names the filter was applied to.
std::string filterNote(bool hasMore);

struct BrowserHelp {
    static constexpr const char* cached = "Shown as read at that time. Refresh reads it again";
    static constexpr const char* mode =
        "Current: one row per file. All Versions: every version and hide marker, as billed";
    static constexpr const char* loadMore = "Load the next thousand names. They also load as you scroll to the end";
    static constexpr const char* emptyCurrent =
        "Nothing here. Hidden versions may still exist - switch to All Versions.";
    static constexpr const char* emptyAllVersions = "Nothing here, not even a hidden version.";
};
