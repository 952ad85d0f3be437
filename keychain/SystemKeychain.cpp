#include "keychain/SystemKeychain.h"

#include "async/Background.h"
#include "foundation/Texts.h"
#include "keychain/KeychainMove.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

SystemKeychain::SystemKeychain(Settings& settings, ActivityLog& log, const std::filesystem::path& directory)
    : log_(log)
    , path_(KeychainFile(directory).path())
    , keyring_(settings, log)
    , file_(directory, log)
{
    connect(&keyring_, &Observable::changed, this, [this] { isWaitingForUnlock = *keyring_.isWaitingForUnlock; });
    connect(&file_, &Observable::changed, this, [this] {
        if (*file_.remark)
            remark = *file_.remark;
        if (!*useLegacyStore)
            return;
        needsPassphrase = *file_.needsPassphrase;
        hasPassphrase = *file_.hasPassphrase;
    });
}

Task<Keychain*> SystemKeychain::chosen()
{
    if (*useLegacyStore)
        co_return &file_;
    if (hasOpened_)
        co_return &keyring_;
    try {
        co_await keyring_.open();
    } catch (const Failure& failure) {
        if (failure.status != Status::noSecretService)
            throw;
        useLegacyStore = true;
        co_return &file_;
    }
    hasOpened_ = true;
    co_return &keyring_;
}

// A user who gets a keyring later finds all keys in it.
Task<bool> SystemKeychain::takeOverFile()
{
    const bool isThere = co_await runInBackground([path = path_] {
        std::error_code ignored;
        return std::filesystem::exists(path, ignored);
    });
    if (!isThere)
        co_return true;
    KeychainMove move;
    try {
        move = co_await moveKeys(file_, keyring_);
    } catch (const Failure& failure) {
        // Each reading tries again and must not repeat the same log line.
        if (*remark != failure.what())
            log_.record({B2LogLevel::warning, "keys", fmt::format("Could not look for keys in “{}”", path_.string()),
                failure.what()});
        if (failure.status == Status::wrongPassphrase)
            remark = fmt::format("Your keys from before this desktop had a keyring are in “{}”, locked with your "
                                 "passphrase. Kestrovan now uses the keyring and does not show them. Keep that file: "
                                 "it can still be used where no keyring runs. Delete it only after you have added each "
                                 "of its keys again.",
                path_.string());
        else
            remark = failure.what();
        co_return failure.status == Status::wrongPassphrase;
    }
    if (!move.moved.empty())
        log_.record({B2LogLevel::notice, "keys",
            fmt::format(
                "Moved {} into the Keychain", countText(static_cast<std::int64_t>(move.moved.size()), "key", "keys")),
            fmt::format("{}, from “{}”.", fmt::join(move.moved, ", "), path_.string())});
    if (move.kept.empty()) {
        remark = std::nullopt; // Left by an earlier attempt.
        co_return true;
    }
    log_.record({B2LogLevel::warning, "keys",
        fmt::format("Could not move {} into the Keychain",
            countText(static_cast<std::int64_t>(move.kept.size()), "key", "keys")),
        fmt::format("{}, kept in “{}”. {}", fmt::join(move.kept, ", "), path_.string(), move.reason)});
    remark = fmt::format("{} could not be moved into the desktop's keyring and {} kept in “{}”. {}",
        countText(static_cast<std::int64_t>(move.kept.size()), "key", "keys"), move.kept.size() == 1 ? "is" : "are",
        path_.string(), move.reason);
    co_return !move.hasFailed;
}

Task<> SystemKeychain::probeOnce()
{
    try {
        // Opening a session proves as much as writing and reading an item, and leaves the keyring unchanged.
        co_await chosen();
    } catch (const Failure&) {
        // The first reading fails in the same way and says so.
    }
}

Task<std::vector<KeychainEntry>> SystemKeychain::entries()
{
    Keychain* const store = co_await chosen();
    auto all = co_await store->entries();
    if (store != &keyring_ || hasTakenOver_ || isTakingOver_)
        co_return all;
    {
        struct Turn {
            bool& isTakingOver;
            ~Turn() { isTakingOver = false; }
        } const turn{isTakingOver_ = true};
        // The keyring may be unlocked at the next reading if it was not now.
        hasTakenOver_ = co_await takeOverFile();
    }
    co_return co_await store->entries();
}

Task<std::optional<Secret>> SystemKeychain::secret(std::string keyID)
{
    Keychain* const store = co_await chosen();
    co_return co_await store->secret(std::move(keyID));
}

Task<> SystemKeychain::save(
    std::string keyID, Secret secret, std::optional<std::string> label, std::optional<std::string> accountID)
{
    Keychain* const store = co_await chosen();
    co_await store->save(std::move(keyID), std::move(secret), std::move(label), std::move(accountID));
}

Task<> SystemKeychain::setLabel(std::string keyID, std::string label)
{
    Keychain* const store = co_await chosen();
    co_await store->setLabel(std::move(keyID), std::move(label));
}

Task<> SystemKeychain::setAccountID(std::string keyID, std::string accountID)
{
    Keychain* const store = co_await chosen();
    co_await store->setAccountID(std::move(keyID), std::move(accountID));
}

Task<> SystemKeychain::remove(std::string keyID)
{
    Keychain* const store = co_await chosen();
    co_await store->remove(std::move(keyID));
}

Task<std::optional<std::string>> SystemKeychain::accountName(std::string accountID)
{
    Keychain* const store = co_await chosen();
    co_return co_await store->accountName(std::move(accountID));
}

Task<> SystemKeychain::setAccountName(std::string accountID, std::string name)
{
    Keychain* const store = co_await chosen();
    co_await store->setAccountName(std::move(accountID), std::move(name));
}

Task<bool> SystemKeychain::isShared(std::string keyID)
{
    Keychain* const store = co_await chosen();
    co_return co_await store->isShared(std::move(keyID));
}

void SystemKeychain::stopWaiting()
{
    keyring_.stopWaiting();
}

void SystemKeychain::askAgain()
{
    keyring_.askAgain();
}

Task<> SystemKeychain::unlockLegacyStore(Secret passphrase)
{
    co_await file_.unlockLegacyStore(std::move(passphrase));
}

Task<> SystemKeychain::setLegacyPassphrase(Secret current, Secret next)
{
    co_await file_.setLegacyPassphrase(std::move(current), std::move(next));
}
