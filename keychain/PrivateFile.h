#pragma once

#include "keychain/Keychain.h"

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

/// The files that keep keys where there is no keyring. These functions block, may be called from any thread, and throw
/// Keychain::Failure (`cannotWrite`), after which nothing has changed.

/// Returns the whole file, or nothing when there is none. Takes away the access of others to it.
std::optional<std::string> privateFileContent(const std::filesystem::path& file);

/// Renames the file to a free name in the same folder. @returns that name.
std::filesystem::path setFileAside(const std::filesystem::path& file);

/// Was a file of this name set aside? True as well when that cannot be determined.
bool wasSetAside(const std::filesystem::path& file);

/// The failure to store keys in a file.
Keychain::Failure cannotSaveKeys(const std::filesystem::path& file, const std::error_code& error);
