#pragma once

#include "B2Kit/B2Authorization.h"
#include "B2Kit/B2Client.h"
#include "accounts/StoredKey.h"
#include "foundation/Observable.h"

#include <memory>

/// One connected key: made only after it was authorized.
///
/// Lives on the main thread. Ends with its last reference, so a task that still holds it finishes by itself.
class B2Session final : public Observable {
public:
    B2Session(StoredKey storedKey, std::shared_ptr<B2Client> sessionClient, B2Authorization answer)
        : key(this, std::move(storedKey))
        , client(std::move(sessionClient))
        , authorization(std::move(answer))
    {
    }

    Observed<StoredKey> key; ///< Changes with a rename, so that every pane shows it at once.
    const std::shared_ptr<B2Client> client;
    /// What the service said when the session was made; never asked for again.
    const B2Authorization authorization;

    /// Has the key the capability?
    bool may(const B2Capability& capability) const
    {
        return authorization.storage.allowed.capabilities.contains(capability);
    }
};
