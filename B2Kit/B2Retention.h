#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// The lock that new files of a bucket get.
struct B2DefaultRetention {
    enum class Mode { governance, compliance };

    struct Period {
        int duration = 0;
        std::string unit; ///< "days" or "years".

        bool operator==(const Period&) const = default;
    };

    std::optional<Mode> mode;
    std::optional<Period> period;

    bool operator==(const B2DefaultRetention&) const = default;
};

struct B2FileLockConfiguration {
    bool isFileLockEnabled = false;
    std::optional<B2DefaultRetention> defaultRetention;

    bool operator==(const B2FileLockConfiguration&) const = default;
};

struct B2ServerSideEncryption {
    std::optional<std::string> mode; ///< "SSE-B2" or "SSE-C".
    std::optional<std::string> algorithm;

    bool operator==(const B2ServerSideEncryption&) const = default;
};

/// Sent to change the default retention; an unset mode is written as null, which clears it.
struct B2RetentionUpdate {
    std::optional<std::string> mode;
    std::optional<B2DefaultRetention::Period> period;

    bool operator==(const B2RetentionUpdate&) const = default;
};

/// Sent to change the default encryption; an unset mode is written as null, which clears it.
struct B2EncryptionUpdate {
    std::optional<std::string> mode;
    std::optional<std::string> algorithm;

    bool operator==(const B2EncryptionUpdate&) const = default;
};

/// The lock of a version and its end.
struct B2FileRetention {
    std::optional<B2DefaultRetention::Mode> mode;
    std::optional<std::int64_t> retainUntilTimestamp; ///< Milliseconds since 1970.

    bool operator==(const B2FileRetention&) const = default;
};

enum class B2LegalHold {
    on,
    off,
    unset,
    unknown, ///< The key may not read it.
};
