#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// Names of local files for files of the service. Functions of values.

/// Returns the name under which a file is saved: the part after the last "/" of its name at the service.
///
/// @returns nothing for a name that no file can have or that would lead out of the folder.
std::optional<std::string> localName(std::string_view remoteName);

/// Checks the path of a file below a folder: every component must be a name.
///
/// @returns nothing for a path that would lead out of the folder or that no file can have.
std::optional<std::string> guardedName(std::string_view relativeName);

/// Shortens the name to at most `limit` bytes, before its extension and between characters.
std::string shortenedName(std::string_view name, std::size_t limit);

/// The first of "name 2.ext" to "name 999.ext" that is free, each within `limit` bytes; the plain name if none is.
std::string numberedName(
    std::string_view name, std::size_t limit, const std::function<bool(const std::string&)>& isTaken);
