#include "accounts/KeySwitcherModel.h"

KeySwitcherModel::KeySwitcherModel(KeyStore& store, Keychain& keychain, Settings& settings)
    : store_(store)
    , keychain_(keychain)
    , settings_(settings)
{
    summaries = cachedSummaries(settings_);
    connect(&store_, &Observable::changed, this, [this] { markChanged(); });
}

Task<> KeySwitcherModel::loadSummaries()
{
    const auto session = *store_.session;
    KeySummarySources sources{.keys = *store_.keys};
    if (session) {
        // The records are those of one account, which the last key to connect may not belong to.
        if (*store_.liveNamesAccountID == session->authorization.accountID)
            sources.liveKeys = *store_.liveKeys;
        sources.sessionKeyID = session->key->keyID;
        sources.authorization = session->authorization;
        if (bucketNames)
            sources.bucketNames = bucketNames();
    }
    summaries = updatedSummaries(*summaries, sources);
    cacheSummaries(settings_, *summaries);
    hasLoadedSummaries = true;

    std::optional<std::string> shared;
    if (session) {
        const std::string keyID = session->key->keyID;
        try {
            if (co_await keychain_.isShared(keyID))
                shared = keyID;
        } catch (const Cancelled&) {
            throw;
        } catch (const std::exception&) {
            // A store that does not answer says so where its keys are read.
        }
    }
    if (*store_.session == session)
        sharedKeyID_ = std::move(shared);
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
        .sharedKeyID = *sharedKeyID_,
        .now = std::chrono::system_clock::now()};
    for (const auto& [keyID, record] : *store_.liveKeys)
        state.liveKeyIDs.insert(keyID);
    if (const auto session = *store_.session) {
        state.sessionKey = *session->key;
        // Until the connection's facts are taken, the sign-in itself says what the key may do.
        state.summaries.try_emplace(session->key->keyID, keySummary(session->authorization));
    }
    return state;
}
