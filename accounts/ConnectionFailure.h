#pragma once

#include <exception>
#include <string>
#include <string_view>

/// Why there is no session.
struct ConnectionFailure {
    enum class Kind {
        unreachable, ///< The network, or a temporary answer of the service.
        keyRejected, ///< The service refused the key itself.
        keyMissing,  ///< No secret is stored for the key.
        other,
    };

    Kind kind = Kind::other;
    std::string message; ///< Shown word for word under the title.

    bool operator==(const ConnectionFailure&) const = default;

    /// The title above the message.
    std::string_view title() const;
    /// Could another attempt with the same key succeed?
    bool canTryAgain() const;
};

/// Distinguishes a refused key from trouble on the network.
ConnectionFailure connectionFailureFrom(const std::exception_ptr& error);

/// The notice in the detail area while there is no session.
struct ConnectionNotice {
    std::string title;
    std::string text;
    bool offersTryAgain = false;
    bool offersAddKey = false;

    bool operator==(const ConnectionNotice&) const = default;
};

/// The notice for a failed attempt.
///
/// @param keyLabel  name of the key that was tried.
/// @param keyCount  how many keys are stored.
ConnectionNotice noticeFor(const ConnectionFailure& failure, const std::string& keyLabel, std::size_t keyCount);
