#pragma once

#include <cstdint>
#include <string>

/// The fate of the bytes of an operation that did not succeed.
struct BytesFate {
    enum class Kind {
        nothing, ///< They are nowhere they were not before.
        maybe,   ///< All of them may have arrived: the answer was lost.
        parts,   ///< Parts of them have arrived and stay, unseen in listings and billed.
        whole,   ///< All of them have arrived as they were when they were read.
        files,   ///< `done` whole files have arrived.
    };

    Kind kind = Kind::nothing;
    std::int64_t done = 0;
    std::int64_t total = 0; ///< 0 where it is not known.

    static constexpr BytesFate nothing() { return {}; }
    static constexpr BytesFate maybe() { return {Kind::maybe}; }
    static constexpr BytesFate parts() { return {Kind::parts}; }
    static constexpr BytesFate whole() { return {Kind::whole}; }
    /// With none done, the same as nothing.
    static constexpr BytesFate files(std::int64_t done, std::int64_t total = 0)
    {
        return done > 0 ? BytesFate{Kind::files, done, total} : nothing();
    }

    bool operator==(const BytesFate&) const = default;
};

/// The direction of the bytes, which decides the verb.
enum class BytesOperation { upload, download };

/// Why an operation did not succeed, and what has become of the bytes.
struct BytesFailure {
    std::string cause; ///< A sentence: what went wrong. Claims nothing about the bytes.
    BytesFate fate;
    std::string advice;            ///< A sentence about what helps; may be empty.
    bool isServiceMessage = false; ///< The cause is the service's own message.

    bool operator==(const BytesFailure&) const = default;
};

/// "Nothing was stored.", "3 of 5 files were saved."
std::string fateText(BytesOperation operation, const BytesFate& fate);

/// The failure as text for the user: cause, fate, advice.
///
/// A message of the service stands alone unless something may have been stored that nobody expects after a refusal.
std::string failureText(BytesOperation operation, const BytesFailure& failure);
