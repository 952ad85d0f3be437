#pragma once

#include "accounts/KeyStore.h"
#include "foundation/Observable.h"

#include <QTimer>

#include <memory>
#include <optional>
#include <string>

/// Warns that the session's key expires soon or has expired: when it connects, and when it expires.
class ExpiryWatch final : public Observable {
public:
    /// @param store  outlives this.
    explicit ExpiryWatch(KeyStore& store);

    /// A sentence to show until `dismiss` or the end of its session.
    Observed<std::optional<std::string>> notice{this};

    /// Hides the notice until there is a different one.
    void dismiss();

private:
    void follow();
    void announce();

    KeyStore& store_;
    std::shared_ptr<B2Session> session_;
    std::optional<std::string> announced_;
    QTimer timer_;
};
