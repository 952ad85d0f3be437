#pragma once

#include "accounts/KeyStore.h"
#include "accounts/KeySwitcher.h"
#include "foundation/Observable.h"
#include "foundation/Settings.h"

#include <functional>

/// What the key switcher shows: the stored keys, the one in use, and what is known of each without a connection.
///
/// Lives on the main thread. Changes of the key store are passed on.
class KeySwitcherModel final : public Observable {
public:
    KeySwitcherModel(KeyStore& store, Keychain& keychain, Settings& settings);

    /// Gives the names of the buckets listed with the session, by id; none when unset.
    std::function<BucketNames()> bucketNames;

    /// Of the last connections; kept in the settings.
    Observed<KeySummaries> summaries{this};
    Observed<bool> hasLoadedSummaries{this, false};

    /// Takes what the connection has told of the stored keys, keeps it for the next start, and asks whether the
    /// current key is shared. Fails never.
    Task<> loadSummaries();

    KeySwitcherHeaderContent header() const;
    KeySwitcherContent content() const;

private:
    KeySwitcherState state() const;

    KeyStore& store_;
    Keychain& keychain_;
    Settings& settings_;
    Observed<std::optional<std::string>> sharedKeyID_{this};
};
