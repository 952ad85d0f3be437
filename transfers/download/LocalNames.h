#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// Names of local files for files of the service. Functions of values.

/// The name under which a file is saved: what follows the last "/" of its name at the service.
///
/// @returns nothing for a name that is no file's, or that would lead out of the folder.
std::optional<std::string> localName(std::string_view remoteName);

/// The path below a folder under which a file of it is saved: itself, when every component is a name.
///
/// @returns nothing for a path that would lead out of the folder, or that no file can have.
std::optional<std::string> guardedName(std::string_view relativeName);

/// The name with at most `limit` bytes: cut before its extension, between characters.
std::string shortenedName(std::string_view name, std::size_t limit);

/// The first of "name 2.ext" to "name 999.ext" that is free, each within `limit` bytes; the plain name if none is.
std::string numberedName(
    std::string_view name, std::size_t limit, const std::function<bool(const std::string&)>& isTaken);
