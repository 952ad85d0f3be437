#pragma once

#include "async/Task.h"

#include <cstddef>
#include <filesystem>
#include <string>

/// Makes a file, with the folders above it, of bytes that differ from size to size.
std::filesystem::path makeTourFile(const std::filesystem::path& path, std::size_t size);

/// Computes the SHA-1 of a file off the main thread.
/// @throws std::runtime_error when it cannot be read.
Task<std::string> digestOfFile(std::filesystem::path path);
