#pragma once

#include "B2Kit/B2File.h"
#include "foundation/NaturalOrder.h"

#include <cstdint>
#include <string>

/// Which listing of a bucket is shown.
enum class BrowserMode { current, allVersions };

/// The mode's name: "Current" or "All Versions".
std::string modeName(BrowserMode mode);

enum class RowKind {
    folder,
    placeholder, ///< A file that keeps an empty folder listed.
    file,
    hidden,     ///< A hide marker.
    unfinished, ///< A large file that was started and not finished.
};

/// One row of a listing, with the values that are needed again and again to show and sort it. Never changes.
struct BrowserRow {
    B2FileVersion file;
    std::string id;         ///< `file.id()`.
    std::string name;       ///< The last path component; may hold any character.
    std::string foldedName; ///< `name` without case, for filtering.
    NaturalSortKey nameKey;
    RowKind kind = RowKind::file;
    /// Milliseconds since 1970: when the content was modified, as the uploader recorded it, else when it was
    /// uploaded; 0 for a folder.
    std::int64_t modified = 0;
};

/// Takes some microseconds; callable from any thread.
BrowserRow makeRow(B2FileVersion file);

/// Returns `text` without case, as a filter compares it.
std::string folded(const std::string& text);
