#include "accounts/switcher/KeySwitcherModel.h"

KeySwitcherModel::KeySwitcherModel(KeyStore& store, Keychain& keychain, Settings& settings)
    : store_(store)
    , keychain_(keychain)
    , settings_(settings)
{
    summaries = cachedSummaries(settings_);
    connect(&store_, &Observable::changed, this, [this] {
        markChanged();
        loadSummaries();
        followSession();
    });
    connect(&keychain_, &Observable::changed, this, [this] { markChanged(); });
}

void KeySwitcherModel::setBucketNames(BucketNames names)
{
    if (names == bucketNames_)
        return;
    bucketNames_ = std::move(names);
    loadSummaries();
}

void KeySwitcherModel::loadSummaries()
{
    KeySummarySources sources{.keys = *store_.keys, .bucketNames = bucketNames_};
    const auto session = *store_.session;
    if (!session)
        return;
    // The records are of one account, which may not be that of the key connected last.
    if (*store_.liveNamesAccountID == session->authorization.accountID)
        sources.liveKeys = *store_.liveKeys;
    sources.sessionKeyID = session->key->keyID;
    sources.authorization = session->authorization;
    auto updated = updatedSummaries(*summaries, sources);
    if (updated != *summaries) {
        cacheSummaries(settings_, updated);
        summaries = std::move(updated);
    }
    hasLoadedSummaries = true;
}

void KeySwitcherModel::followSession()
{
    const auto session = *store_.session;
    if (session == askedFor_)
        return;
    askedFor_ = session;
    sharedKeyID_ = std::nullopt;
    if (session)
        tasks_.start(askShared(this, session));
}

Task<> KeySwitcherModel::askShared(QPointer<KeySwitcherModel> self, std::shared_ptr<B2Session> session)
{
    if (!self)
        co_return;
    bool isShared = false;
    try {
        isShared = co_await self->keychain_.isShared(session->key->keyID);
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception&) {
        // A failing store is reported where its keys are read.
    }
    if (self && isShared && session == self->askedFor_)
        self->sharedKeyID_ = session->key->keyID;
}

KeySwitcherHeaderContent KeySwitcherModel::header() const
{
    return keySwitcherHeader(state());
}

KeySwitcherContent KeySwitcherModel::content() const
{
    return keySwitcherContent(state());
}

KeySwitcherState KeySwitcherModel::state() const
{
    KeySwitcherState state{.keys = *store_.keys,
        .accounts = store_.accountGroups(),
        .revokedKeyIDs = store_.revokedKeyIDs(),
        .summaries = *summaries,
        .lastAttempted = *store_.lastAttempted,
        .failure = *store_.connectionFailure,
        .isStarted = *store_.isStarted,
        .isConnecting = *store_.isConnecting,
        .isWaitingForUnlock = *keychain_.isWaitingForUnlock,
        .needsPassphrase = *keychain_.needsPassphrase,
        .storeFailure = *store_.storeFailure,
        .sharedKeyID = *sharedKeyID_,
        .now = std::chrono::system_clock::now()};
    for (const auto& [keyID, record] : *store_.liveKeys)
        state.liveKeyIDs.insert(keyID);
    if (const auto session = *store_.session) {
        state.sessionKey = *session->key;
        // Until the summaries are updated, the sign-in itself says what the key may do.
        state.summaries.try_emplace(session->key->keyID, keySummary(session->authorization));
    }
    return state;
}
