#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace localb2 {

/// One scripted failure. `docs/local-service.md` explains the fields.
struct Fault {
    enum class Kind {
        status,
        resetRequest,
        resetAnswer,
        stall,
        trickle,
        truncate,
        garble,
        corrupt,
        headers,
        loseReply,
        expireTokens,
        capReached,
    };

    Kind kind = Kind::status;
    std::string operation = "*";
    std::int64_t after = 0;            ///< Matching requests let through first.
    std::optional<std::int64_t> count; ///< Matching requests struck after that; unset: all.
    double probability = 1;
    std::string nameContains; ///< Only requests whose file name holds this text; the path, where none is sent.

    int status = 503;
    std::string code;
    std::string message;
    std::optional<std::string> retryAfter;
    std::optional<std::string> body;
    std::string contentType;
    std::int64_t at = 0; ///< Byte of the body.
    std::int64_t milliseconds = 0;
    std::int64_t bytesPerSecond = 0;
    bool isInRequest = false;      ///< Stalls and trickles the request's body, not the answer.
    std::string which = "storage"; ///< The cap reached.
    std::vector<std::pair<std::string, std::optional<std::string>>> headers; ///< Without a value: removed.

    std::int64_t seen = 0;
    std::int64_t hits = 0;
};

/// The faults that strike one request.
class FaultPlan {
public:
    explicit FaultPlan(std::vector<Fault> faults = {})
        : faults_(std::move(faults))
    {
    }

    bool isEmpty() const { return faults_.empty(); }
    const Fault* first(Fault::Kind kind) const;
    /// The first stall or trickle in one direction.
    const Fault* first(Fault::Kind kind, bool isInRequest) const;
    const std::vector<Fault>& all() const { return faults_; }
    std::string kinds() const;

private:
    std::vector<Fault> faults_;
};

/// The script of faults. Used from any thread.
class Faults {
public:
    /// Adds the faults of a JSON list, or of one object.
    ///
    /// @throws Failure when one cannot be understood; then none is added.
    void add(std::string_view json);
    void clear();
    std::string json() const;

    /// Counts the request and returns the faults that strike it.
    FaultPlan match(std::string_view operation, std::string_view path, std::string_view fileName);

private:
    mutable std::mutex mutex_;
    std::vector<Fault> faults_;
    // The same seed every time, so that a script with probabilities is repeatable.
    std::mt19937 random_{20260305};
};

} // namespace localb2
