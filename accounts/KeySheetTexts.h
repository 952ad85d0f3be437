#pragma once

#include "accounts/KeyStore.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The texts of the sheets that rename and remove stored keys. Functions of values.

/// A question and the title of its confirming button; the other button is "Cancel".
struct KeyQuestion {
    std::string title;
    std::string text;
    std::string verb;

    bool operator==(const KeyQuestion&) const = default;
};

std::string renameKeyText(bool isMaster);
std::string renameAccountText();

/// Is there a name? Blanks alone are none.
bool isNameGiven(std::string_view name);

/// @param isCurrent  the program is connected with the key.
KeyQuestion removeKeyQuestion(const StoredKey& key, bool isCurrent);

/// @param isAnyShared  one of the keys is on the user's other computers too.
KeyQuestion removeRevokedQuestion(const std::vector<StoredKey>& keys, bool isAnyShared);

/// Explains what remains possible after the passphrase was forgotten.
std::string forgottenPassphraseText(const std::filesystem::path& store);

/// Advice for choosing a passphrase.
inline constexpr std::string_view passphraseAdvice = "Four or more random words are good.";

/// Does a passphrase deserve a warning? A short one is allowed all the same.
bool isShortPassphrase(const Secret& passphrase);
inline constexpr std::string_view shortPassphraseText =
    "This passphrase is short. Anyone who gets a copy of the file can guess a short one quickly.";

/// What was done to the passphrase of the file that keeps the keys.
enum class PassphraseChange { set, changed, removed };
std::string passphraseChangeText(PassphraseChange change);

/// Says which revoked keys were kept and why; nothing when all of them were removed.
std::optional<std::string> retainedKeysText(const RevokedKeysOutcome& outcome);
