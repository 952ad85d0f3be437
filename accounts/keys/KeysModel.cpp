#include "accounts/keys/KeysModel.h"

#include "B2Kit/Secret.h"
#include "B2Kit/calls/B2AccountKeys.h"
#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "accounts/keys/CreatedKeyRules.h"
#include "accounts/keys/KeyPermissions.h"
#include "accounts/keys/NewKeyRules.h"
#include "foundation/Texts.h"

#include <algorithm>
#include <utility>

namespace {

Task<std::vector<B2ApplicationKey>> everyKey(std::shared_ptr<B2Client> client)
{
    std::vector<B2ApplicationKey> keys;
    auto listed = allKeys(client);
    while (auto key = co_await listed.next())
        keys.push_back(std::move(*key));
    // A cancelled listing ends early, which must not look like a short list.
    co_await checkCancelled();
    std::ranges::sort(keys, {}, &B2ApplicationKey::applicationKeyID);
    co_return keys;
}

} // namespace

KeysModel::KeysModel(ActivityLog& log)
    : log_(log)
{
}

void KeysModel::clear()
{
    keys = std::vector<B2ApplicationKey>();
    isLoading = false;
    hasLoaded = false;
    inFlight = std::set<std::string>();
    goneIDs_.clear();
    dismissError();
}

Task<> KeysModel::load()
{
    if (!*session || !(*session)->may(B2Capabilities::listKeys))
        co_return;
    const QPointer<KeysModel> self(this);
    const Ticket mine = ticket();
    isLoading = true;
    std::vector<B2ApplicationKey> listed;
    std::exception_ptr failure;
    try {
        listed = co_await everyKey(mine.session->client);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self || !isCurrent(mine))
        co_return;
    isLoading = false;
    if (failure && isCancellation(failure))
        std::rethrow_exception(failure);
    if (failure) {
        error = "Couldn't list the account's keys. " + describe(failure);
        hasLoadFailed = true;
        co_return;
    }
    // A listing that began before a key was deleted may still hold it.
    std::erase_if(listed, [&](const B2ApplicationKey& key) { return goneIDs_.contains(key.applicationKeyID); });
    keys = std::move(listed);
    hasLoaded = true;
    // An error about creating or deleting a key stays: it may not have been read yet.
    if (*hasLoadFailed)
        dismissError();
    if (didLoad)
        didLoad();
}

Task<bool> KeysModel::create(B2CreateKeyRequest request, std::weak_ptr<B2Session> askedFor)
{
    if (*isWorking)
        co_return false;
    const QPointer<KeysModel> self(this);
    const std::string name = singleLine(request.keyName);
    const auto current = askedFor.lock();
    if (!current || *session != current) {
        dismissError();
        error = "Key “" + name + "” was not created, because another key is in use now.";
        co_return false;
    }
    const std::string summary =
        presetSummary({request.capabilities.begin(), request.capabilities.end()}) + " - " + reachForLog(request);
    const auto before = *hasLoaded ? std::optional(*keys) : std::nullopt;
    isWorking = true;
    dismissError();
    std::optional<B2CreatedApplicationKey> made;
    std::exception_ptr failure;
    try {
        made = co_await current->client->createKey(std::move(request));
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return made.has_value();
    isWorking = false;
    if (failure && isCancellation(failure))
        std::rethrow_exception(failure);
    if (failure) {
        const std::string reason = describe(failure);
        log_.record({B2LogLevel::error, "keys", "Could not create key " + name, reason});
        fail(current, "Could not create key “" + name + "”. " + reason);
        co_return false;
    }
    // Kept even if the session was replaced: the service returns the secret only once.
    const auto madeKey = made->key;
    const bool mayHaveTwin = made->mayHaveTwin;
    twinNote = mayHaveTwin ? std::optional(CreatedKeyRules::twinNote(name)) : std::nullopt;
    created = std::move(made);
    log_.record({B2LogLevel::notice, "keys", "Created Application Key " + name, summary});
    announceChange();
    if (*session == current)
        co_await load();
    if (!self || !mayHaveTwin || !before || *session != current)
        co_return true;
    const auto twin = std::ranges::find_if(*keys, [&](const B2ApplicationKey& key) {
        return key.keyName == madeKey.keyName && key.applicationKeyID != madeKey.applicationKeyID
            && std::ranges::find(*before, key.applicationKeyID, &B2ApplicationKey::applicationKeyID) == before->end();
    });
    if (twin != keys->end() && *created && (*created)->key == madeKey)
        twinNote = CreatedKeyRules::twinNote(name, twin->applicationKeyID);
    co_return true;
}

std::unique_ptr<ItemRun> KeysModel::makeDeletion(const std::vector<B2ApplicationKey>& doomed)
{
    const auto usedSession = *session;
    std::vector<ItemRun::Item> items;
    for (const auto& key : doomed) {
        const bool isSkipped =
            !usedSession || key.applicationKeyID == usedSession->key->keyID || inFlight->contains(key.applicationKeyID);
        if (isSkipped)
            continue;
        items.push_back({.name = key.keyName,
            .work = [self = QPointer(this), usedSession, key] { return remove(self, usedSession, key); }});
    }
    auto run = std::make_unique<ItemRun>(std::move(items));
    run->onEnd = [self = QPointer(this), usedSession](const ItemRun::Summary& summary) {
        if (self)
            self->deletionEnded(summary, usedSession);
    };
    return run;
}

void KeysModel::deletionEnded(const ItemRun::Summary& summary, const std::shared_ptr<B2Session>& usedSession)
{
    if (summary.done > 0 || !summary.interrupted.empty())
        announceChange();
    if (!summary.interrupted.empty() && *session == usedSession)
        tasks_.start(load());
}

Task<std::optional<std::string>> KeysModel::remove(
    QPointer<KeysModel> self, std::shared_ptr<B2Session> usedSession, B2ApplicationKey key)
{
    // The question was about keys of one account.
    if (!self || *self->session != usedSession)
        co_return "Another key is in use now.";
    const std::string id = key.applicationKeyID;
    const std::string name = singleLine(key.keyName);
    self->inFlight.update([&](auto& ids) { ids.insert(id); });
    std::exception_ptr failure;
    try {
        co_await deleteAccountKey(usedSession->client, id);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return std::nullopt;
    const bool isCurrent = *self->session == usedSession;
    if (isCurrent)
        self->inFlight.update([&](auto& ids) { ids.erase(id); });
    if (failure && isCancellation(failure))
        std::rethrow_exception(failure);
    if (failure) {
        auto reason = describe(failure);
        self->log_.record({B2LogLevel::error, "keys", "Could not delete key " + name, reason});
        co_return reason;
    }
    self->log_.record({B2LogLevel::warning, "keys", "Deleted Application Key " + name,
        name + ". Anything still using it will stop working now."});
    if (isCurrent) {
        self->goneIDs_.insert(id);
        self->keys.update(
            [&](auto& all) { std::erase_if(all, [&](const auto& each) { return each.applicationKeyID == id; }); });
    }
    co_return std::nullopt;
}

void KeysModel::fail(const std::shared_ptr<B2Session>& askedWith, std::string sentence)
{
    if (*session == askedWith) {
        dismissError();
        error = std::move(sentence);
    } else if (didFailInEarlierSession) {
        didFailInEarlierSession(std::move(sentence));
    }
}

void KeysModel::dismissError()
{
    error = std::nullopt;
    hasLoadFailed = false;
}

void KeysModel::forgetCreated()
{
    if (!*created)
        return;
    created.update([](auto& made) {
        wipe(made->applicationKey);
        made.reset();
    });
    twinNote = std::nullopt;
}

void KeysModel::announceChange()
{
    if (didChange)
        didChange();
}
