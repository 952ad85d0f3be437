#pragma once

#include "keychain/Keychain.h"

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

/// The files that keep keys where there is no keyring. From any thread, and blocks. What fails, fails with
/// Keychain::Failure (`cannotWrite`) and has changed nothing.

/// The whole file, or nothing when there is none. A file that others could read is closed to them.
std::optional<std::string> privateFileContent(const std::filesystem::path& file);

/// Gives the file a name that no other has, in the same folder. @returns that name.
std::filesystem::path setFileAside(const std::filesystem::path& file);

/// Is there a file that was set aside in its place? Yes also when nobody can tell.
bool wasSetAside(const std::filesystem::path& file);

/// The failure to store keys in a file.
Keychain::Failure cannotSaveKeys(const std::filesystem::path& file, const std::error_code& error);
