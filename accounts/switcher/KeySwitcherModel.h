#pragma once

#include "accounts/KeyStore.h"
#include "accounts/switcher/KeySwitcher.h"
#include "foundation/Observable.h"
#include "foundation/TaskScope.h"
#include "foundation/settings/Settings.h"

#include <QPointer>

#include <memory>

/// The model of the key switcher: the stored keys, the one in use, and what is known about each without a connection.
///
/// Lives on the main thread. Changes of the key store and of the keychain are passed on.
class KeySwitcherModel final : public Observable {
public:
    KeySwitcherModel(KeyStore& store, Keychain& keychain, Settings& settings);

    /// From earlier connections; kept in the settings.
    Observed<KeySummaries> summaries{this};
    Observed<bool> hasLoadedSummaries{this, false}; ///< Since the program started, from a connection.

    /// The names of the buckets that the session has listed.
    void setBucketNames(BucketNames names);

    /// Updates the summaries from the connection and keeps them for the next start. Happens by itself with every
    /// change of the key store.
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
    std::shared_ptr<B2Session> askedFor_; ///< The session whose key was checked for sharing.
    Observed<std::optional<std::string>> sharedKeyID_{this};
    TaskScope tasks_;
};
