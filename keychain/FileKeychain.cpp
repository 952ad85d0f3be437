#include "keychain/FileKeychain.h"

#include "B2Kit/wire/B2Text.h"
#include "async/Background.h"
#include "foundation/Texts.h"

#include <algorithm>

namespace {

KeychainFile::Entry* find(KeychainFile::Entries& entries, std::string_view service, const std::string& account)
{
    const auto found = std::ranges::find_if(entries, [&](const KeychainFile::Entry& entry) {
        return entry.item.service == service && entry.item.account == account;
    });
    return found == entries.end() ? nullptr : &*found;
}

KeychainFile::Entry& findOrAdd(KeychainFile::Entries& entries, std::string_view service, const std::string& account)
{
    if (auto* const entry = find(entries, service, account))
        return *entry;
    auto& added = entries.emplace_back();
    added.item.service = service;
    added.item.account = account;
    return added;
}

} // namespace

FileKeychain::FileKeychain(const std::filesystem::path& directory, ActivityLog& log)
    : log_(log)
    , self_(std::make_shared<FileKeychain*>(this))
    , file_(std::make_shared<KeychainFile>(directory))
{
    useLegacyStore = true;
}

template <class Work>
Task<std::invoke_result_t<Work, KeychainFile&>> FileKeychain::onFile(Work work)
{
    using Result = std::invoke_result_t<Work, KeychainFile&>;
    struct Outcome {
        std::optional<std::conditional_t<std::is_void_v<Result>, bool, Result>> value;
        std::exception_ptr error;
        std::optional<bool> isByPassphrase;
        bool isLocked = false;
    };
    const std::weak_ptr<FileKeychain*> self = self_;
    auto outcome = co_await runInBackground([file = file_, work = std::move(work)]() mutable {
        Outcome result;
        try {
            if constexpr (std::is_void_v<Result>)
                work(*file);
            else
                result.value.emplace(work(*file));
        } catch (...) {
            result.error = std::current_exception();
        }
        try {
            result.isByPassphrase = file->hasPassphrase();
            result.isLocked = file->needsPassphrase();
        } catch (const Failure&) {
            // The work has failed in the same way, or the next will.
        }
        return result;
    });
    if (const auto keychain = self.lock()) {
        if (outcome.isByPassphrase) {
            (*keychain)->hasPassphrase = *outcome.isByPassphrase;
            (*keychain)->needsPassphrase = outcome.isLocked;
        }
    }
    if (outcome.error)
        std::rethrow_exception(outcome.error);
    if constexpr (!std::is_void_v<Result>)
        co_return std::move(*outcome.value);
}

Task<std::vector<KeychainEntry>> FileKeychain::entries()
{
    const auto items = co_await onFile([](KeychainFile& file) {
        std::vector<KeychainItem> keys;
        for (auto& entry : file.read()) {
            if (entry.item.service == keyItemService)
                keys.push_back(std::move(entry.item));
        }
        return keys;
    });
    auto entries = entriesOf(items);
    log_.record(readingEvent(entries, items.size(), "legacy", "local this Mac"));
    co_return entries;
}

Task<std::optional<Secret>> FileKeychain::secret(std::string keyID)
{
    co_return co_await onFile([keyID](KeychainFile& file) -> std::optional<Secret> {
        auto entries = file.read();
        auto* const entry = find(entries, keyItemService, keyID);
        return entry ? std::optional(std::move(entry->secret)) : std::nullopt;
    });
}

Task<> FileKeychain::save(
    std::string keyID, Secret secret, std::optional<std::string> label, std::optional<std::string> accountID)
{
    const auto shared = std::make_shared<Secret>(std::move(secret));
    const std::weak_ptr<FileKeychain*> self = self_;
    auto aside = co_await onFile([keyID, label, accountID, shared](KeychainFile& file) {
        return file.add([&](KeychainFile::Entries& entries) {
            auto& entry = findOrAdd(entries, keyItemService, keyID);
            entry.secret = std::move(*shared);
            if (label)
                entry.item.label = label;
            if (accountID)
                entry.item.generic = accountID;
        });
    });
    const auto keychain = self.lock();
    if (keychain && aside) {
        (*keychain)->log_.record({B2LogLevel::warning, "keys", "Started a new file for the stored keys", *aside});
        (*keychain)->remark = std::move(aside);
    }
}

Task<> FileKeychain::setLabel(std::string keyID, std::string label)
{
    co_await onFile([keyID, label](KeychainFile& file) {
        file.change([&](KeychainFile::Entries& entries) {
            if (auto* const entry = find(entries, keyItemService, keyID))
                entry->item.label = label;
        });
    });
}

Task<> FileKeychain::setAccountID(std::string keyID, std::string accountID)
{
    co_await onFile([keyID, accountID](KeychainFile& file) {
        file.change([&](KeychainFile::Entries& entries) {
            if (auto* const entry = find(entries, keyItemService, keyID))
                entry->item.generic = accountID;
        });
    });
}

Task<> FileKeychain::remove(std::string keyID)
{
    co_await onFile([keyID](KeychainFile& file) {
        file.change([&](KeychainFile::Entries& entries) {
            std::erase_if(entries, [&](const KeychainFile::Entry& entry) {
                return entry.item.service == keyItemService && entry.item.account == keyID;
            });
        });
    });
}

Task<std::optional<std::string>> FileKeychain::accountName(std::string accountID)
{
    co_return co_await onFile([accountID](KeychainFile& file) -> std::optional<std::string> {
        auto entries = file.read();
        const auto* const entry = find(entries, accountItemService, accountID);
        return entry ? entry->item.label : std::nullopt;
    });
}

Task<> FileKeychain::setAccountName(std::string accountID, std::string name)
{
    name = trimmed(name);
    if (name.empty())
        co_return;
    co_await onFile([accountID, name](KeychainFile& file) {
        file.change([&](KeychainFile::Entries& entries) {
            findOrAdd(entries, accountItemService, accountID).item.label = name;
        });
    });
}

Task<> FileKeychain::unlockLegacyStore(Secret passphrase)
{
    const auto shared = std::make_shared<Secret>(std::move(passphrase));
    co_await onFile([shared](KeychainFile& file) { file.unlock(*shared); });
}

Task<> FileKeychain::setLegacyPassphrase(Secret current, Secret next)
{
    const bool isRemoved = next.empty();
    const auto old = std::make_shared<Secret>(std::move(current));
    const auto shared = std::make_shared<Secret>(std::move(next));
    auto* const log = &log_;
    co_await onFile([old, shared](KeychainFile& file) { file.setPassphrase(*old, *shared); });
    log->record({B2LogLevel::notice, "keys",
        isRemoved ? "Removed the passphrase of the stored keys" : "Set a passphrase for the stored keys",
        isRemoved ? "The key to their file is stored beside it again." : "Kestrovan asks for it at each start."});
}
