#pragma once

#include "B2Kit/B2Authorization.h"
#include "B2Kit/B2Client.h"
#include "accounts/StoredKey.h"
#include "foundation/Observable.h"

#include <memory>

/// A connected key; created only after it was authorized.
///
/// Lives on the main thread until its last reference goes, so a task that still holds it can finish.
class B2Session final : public Observable {
public:
    B2Session(StoredKey storedKey, std::shared_ptr<B2Client> sessionClient, B2Authorization answer)
        : key(this, std::move(storedKey))
        , client(std::move(sessionClient))
        , authorization(std::move(answer))
    {
    }

    Observed<StoredKey> key; ///< Changes with a rename, which every pane then shows at once.
    const std::shared_ptr<B2Client> client;
    /// The service's answer when the session was created; never requested again.
    const B2Authorization authorization;

    /// Does the key have the capability?
    bool may(const B2Capability& capability) const
    {
        return authorization.storage.allowed.capabilities.contains(capability);
    }
};
