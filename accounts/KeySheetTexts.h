#pragma once

#include "B2Kit/Secret.h"
#include "accounts/StoredKey.h"
#include "foundation/Question.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// The texts of the sheets that rename and remove stored keys. Functions of values.

std::string renameKeyText(bool isMaster);
std::string renameAccountText();

/// Is there a name at all? Blanks alone are none.
bool isNameGiven(std::string_view name);

/// @param isCurrent  the program is connected with the key.
Question removeKeyQuestion(const StoredKey& key, bool isCurrent);

/// @param isAnyShared  one of the keys is on the user's other computers too.
Question removeRevokedQuestion(const std::vector<StoredKey>& keys, bool isAnyShared);

/// Advice for a user who no longer knows the passphrase.
std::string forgottenPassphraseText(const std::filesystem::path& store);

/// Advice for choosing a passphrase.
inline constexpr std::string_view passphraseAdvice = "Four or more random words are good.";

/// Is it short enough for a warning? No passphrase is refused.
bool isShortPassphrase(const Secret& passphrase);
inline constexpr std::string_view shortPassphraseText =
    "This passphrase is short. Whoever gets a copy of the file guesses a short one quickly.";

/// A change of the passphrase of the stored keys' file.
enum class PassphraseChange { set, changed, takenOff };
/// The change as a sentence to show.
std::string passphraseChangeText(PassphraseChange change);
