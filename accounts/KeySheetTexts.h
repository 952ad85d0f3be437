#pragma once

#include "B2Kit/Secret.h"
#include "accounts/StoredKey.h"
#include "foundation/runs/Question.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// The texts of the sheets that rename and remove stored keys. Functions of values.

std::string renameKeyText(bool isMaster);
std::string renameAccountText();

/// Is there a name? Blanks alone are none.
bool isNameGiven(std::string_view name);

/// @param isCurrent  the program is connected with the key.
Question removeKeyQuestion(const StoredKey& key, bool isCurrent);

/// @param isAnyShared  one of the keys is on the user's other computers too.
Question removeRevokedQuestion(const std::vector<StoredKey>& keys, bool isAnyShared);

/// Explains what remains possible after the passphrase was forgotten.
std::string forgottenPassphraseText(const std::filesystem::path& store);

/// Advice for choosing a passphrase.
inline constexpr std::string_view passphraseAdvice = "Four or more random words are good.";

/// Does a passphrase deserve a warning? A short one is allowed all the same.
bool isShortPassphrase(const Secret& passphrase);
inline constexpr std::string_view shortPassphraseText =
    "This passphrase is short. Anyone who gets a copy of the file can guess a short one quickly.";

/// A change of the passphrase of the file of keys.
enum class PassphraseChange { set, changed, removed };
std::string passphraseChangeText(PassphraseChange change);
