#pragma once

#include "accounts/KeyStore.h"
#include "accounts/switcher/KeySwitcher.h"
#include "foundation/Observable.h"
#include "foundation/Settings.h"
#include "foundation/TaskScope.h"

#include <QPointer>

#include <memory>

/// What the key switcher shows: the stored keys, the one in use, and what is known of each without a connection.
///
/// Lives on the main thread. Changes of the key store and of the keychain are passed on.
class KeySwitcherModel final : public Observable {
public:
    KeySwitcherModel(KeyStore& store, Keychain& keychain, Settings& settings);

    /// Of the last connections; kept in the settings.
    Observed<KeySummaries> summaries{this};
    Observed<bool> hasLoadedSummaries{this, false}; ///< A connection has told of the stored keys.

    /// The names of the buckets that the session has listed.
    void setBucketNames(BucketNames names);

    /// Takes what the connection has told of the stored keys, and keeps it for the next start. Done by itself with
    /// every change of the key store.
    void loadSummaries();

    KeySwitcherHeaderContent header() const;
    KeySwitcherContent content() const;

private:
    KeySwitcherState state() const;
    void followSession();
    static Task<> askShared(QPointer<KeySwitcherModel> self, std::shared_ptr<B2Session> session);

    KeyStore& store_;
    Keychain& keychain_;
    Settings& settings_;
    BucketNames bucketNames_;
    std::shared_ptr<B2Session> askedFor_; ///< Whether its key is shared was asked.
    Observed<std::optional<std::string>> sharedKeyID_{this};
    TaskScope tasks_;
};
