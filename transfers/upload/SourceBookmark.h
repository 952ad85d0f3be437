#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>

/// What a source file was when its upload began, so that another file under the same path is noticed.
struct SourceBookmark {
    std::filesystem::path path;
    std::int64_t byteCount = 0;
    std::chrono::system_clock::time_point modificationDate;

    bool operator==(const SourceBookmark&) const = default;
};
