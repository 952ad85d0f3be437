#pragma once

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

/// Creates an empty folder, which the caller removes.
inline std::filesystem::path makeTemporaryFolder()
{
    auto pattern = (std::filesystem::temp_directory_path() / "b2kit-test-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("no folder could be created for the test");
    return pattern;
}

/// Bytes whose pattern does not repeat within the parts of a large file.
inline std::string variedText(std::size_t size)
{
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        text[i] = static_cast<char>(i * 7 + i / 251 + i / 1'000'003);
    return text;
}
