#pragma once

#include "B2Kit/B2Error.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Takes the body of an answer as it arrives, on the transport's thread. An exception ends the request.
class BodySink {
public:
    virtual ~BodySink() = default;

    /// Called when the headers are complete.
    /// @param length  of the body as announced, or nothing.
    virtual void begin(int status, std::optional<std::int64_t> length) = 0;

    /// @returns false when nothing more is wanted: the answer then counts as complete.
    virtual bool take(std::string_view bytes) = 0;

    /// Called when the body is complete.
    virtual void finish() = 0;
};

/// Keeps a body in memory, up to a cap.
class MemorySink final : public BodySink {
public:
    void begin(int, std::optional<std::int64_t> length) override
    {
        // A hostile length reserves little memory; a page of a listing takes half a megabyte.
        constexpr std::int64_t worthReserving = 4'000'000;
        if (length && *length > 0)
            body.reserve(static_cast<std::size_t>(std::min(*length, worthReserving)));
    }
    bool take(std::string_view bytes) override
    {
        constexpr std::size_t cap = 64'000'000;
        if (body.size() + bytes.size() > cap)
            throw B2Error(B2Error::InvalidResponse{"The answer is larger than 64 MB"});
        body += bytes;
        return true;
    }
    void finish() override {}

    std::string body;
};
