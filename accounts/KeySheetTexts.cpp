#include "accounts/KeySheetTexts.h"

#include "B2Kit/wire/B2Text.h"
#include "foundation/QtText.h"
#include "foundation/Texts.h"

#include <QLocale>
#include <QStringList>

#include <fmt/format.h>

#include <algorithm>

namespace {

std::string labelList(const std::vector<StoredKey>& keys)
{
    QStringList labels;
    for (const auto& key : keys)
        labels.push_back(toQString("“" + key.label + "”"));
    return fromQString(QLocale().createSeparatedList(labels));
}

} // namespace

std::string renameKeyText(bool isMaster)
{
    std::string text = "The name is stored on the key itself, so it reaches your other computers when key sync is on.";
    if (isMaster)
        text = "This is the account's Master Application Key. Backblaze does not name it, so the name here is your "
               "own. "
            + text;
    return text;
}

std::string renameAccountText()
{
    return "Backblaze does not name an account, so this name is your own. It reaches your other computers when key "
           "sync is on.";
}

bool isNameGiven(std::string_view name)
{
    return !trimmed(name).empty();
}

Question removeKeyQuestion(const StoredKey& key, bool isCurrent)
{
    Question question{.title = fmt::format("Remove “{}” from Kestrovan?", key.label),
        .text = "Removes this key from Kestrovan. It stays at Backblaze. To use it here again you need its "
                "applicationKey, which Backblaze shows only once.",
        .verb = "Remove"};
    if (isCurrent)
        question.text += " Kestrovan is connected with this key and will disconnect; transfers that are running go on.";
    return question;
}

Question removeRevokedQuestion(const std::vector<StoredKey>& keys, bool isAnyShared)
{
    const auto count = countText(static_cast<std::int64_t>(keys.size()), "key", "keys");
    return {.title = fmt::format("Remove {} Backblaze no longer has?", count),
        .text = labelList(keys) + (isAnyShared ? ", on every computer that syncs keys. " : ". ")
            + "These were revoked at Backblaze, so they cannot sign in again. Removing them forgets the secrets this "
              "computer holds. Nothing at Backblaze changes: they are already gone there.",
        .verb = "Remove"};
}

std::string forgottenPassphraseText(const std::filesystem::path& store)
{
    return fmt::format("Nobody can read these keys without the passphrase. If it is lost, move “{}” away and add keys "
                       "again; Backblaze makes new ones. Your buckets and files are not affected.",
        store.string());
}

bool isShortPassphrase(const Secret& passphrase)
{
    constexpr auto fewest = 12;
    // Counts the bytes of UTF-8 that begin a character.
    return std::ranges::count_if(passphrase.reveal(), [](char byte) { return (byte & 0xc0) != 0x80; }) < fewest;
}

std::string passphraseChangeText(PassphraseChange change)
{
    switch (change) {
    case PassphraseChange::set:
        return "Your stored keys are now locked with your passphrase, and Kestrovan asks for it at each start.";
    case PassphraseChange::changed:
        return "The passphrase of your stored keys was changed; the old one no longer opens them.";
    case PassphraseChange::removed:
        return "The passphrase of your stored keys was removed. The key to their file is now stored beside it.";
    }
    return {};
}
