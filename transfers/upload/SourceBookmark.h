#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>

/// The state of a source file when its upload began, so that a different file under the same path is noticed.
struct SourceBookmark {
    std::filesystem::path path;
    std::int64_t byteCount = 0;
    std::chrono::system_clock::time_point modificationDate;

    bool operator==(const SourceBookmark&) const = default;
};
