#pragma once

#include "accounts/KeyStore.h"
#include "foundation/Observable.h"

#include <QTimer>

#include <memory>
#include <optional>
#include <string>

/// Tells that the session's key ends soon or has ended: at the connection, and at the moment of the end.
class ExpiryWatch final : public Observable {
public:
    /// @param store  outlives this.
    explicit ExpiryWatch(KeyStore& store);

    /// A sentence to show until `dismiss`; it goes with its session.
    Observed<std::optional<std::string>> notice{this};

    /// What was closed stays closed until something else is to be told.
    void dismiss();

private:
    void follow();
    void tell();

    KeyStore& store_;
    std::shared_ptr<B2Session> session_;
    std::optional<std::string> told_;
    QTimer timer_;
};
