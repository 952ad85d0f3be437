#pragma once

#include "keychain/KeychainFile.h"

#include <optional>

/// Writes the entries of a keychain file as the text that is encrypted: a count, then the fields of each entry in turn,
/// each text preceded by its length.
Secret keychainRecord(const KeychainFile::Entries& entries);

/// @returns nothing for a text that is not such a record.
std::optional<KeychainFile::Entries> parseKeychainRecord(const Secret& record);
