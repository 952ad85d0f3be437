#pragma once

#include "accounts/KeyStore.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The words of the sheets that rename and remove stored keys. Functions of values.

/// A question with the button that does it; "Cancel" is the other.
struct KeyQuestion {
    std::string title;
    std::string text;
    std::string verb;

    bool operator==(const KeyQuestion&) const = default;
};

std::string renameKeyText(bool isMaster);
std::string renameAccountText();

/// May the name be given? Blanks alone are none.
bool isNameGiven(std::string_view name);

/// @param isCurrent  the program is connected with the key.
KeyQuestion removeKeyQuestion(const StoredKey& key, bool isCurrent);

/// @param isAnyShared  one of the keys is on the user's other computers too.
KeyQuestion removeRevokedQuestion(const std::vector<StoredKey>& keys, bool isAnyShared);

/// What is left to do for somebody who does not know the passphrase any more.
std::string forgottenPassphraseText(const std::filesystem::path& store);

/// What makes a passphrase good.
inline constexpr std::string_view passphraseAdvice = "Four or more random words are good.";

/// Is it worth a word? It is never forbidden.
bool isShortPassphrase(const Secret& passphrase);
inline constexpr std::string_view shortPassphraseText =
    "This passphrase is short. Whoever gets a copy of the file guesses a short one quickly.";

/// What happened to the passphrase of the stored keys' file, as a sentence.
enum class PassphraseChange { set, changed, takenOff };
std::string passphraseChangeText(PassphraseChange change);

/// What to tell after the revoked keys were removed; nothing when all of them are gone.
std::optional<std::string> keptKeysText(const RevokedKeysOutcome& outcome);
