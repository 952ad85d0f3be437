#pragma once

#include "localb2/Core.h"
#include "localb2/Wire.h"

#include <optional>
#include <string>
#include <vector>

namespace localb2 {

/// Reads requests from a connection: the head at once, the body as it is asked for.
class RequestReader final : public BodyReader {
public:
    explicit RequestReader(Wire& wire);

    /// The next request without its body; nothing when the peer has finished.
    ///
    /// @throws Failure 400 when what comes is no request.
    std::optional<Request> readHead();

    /// Makes the body of the request readable, with what the plan does to it.
    void beginBody(const Request& request, const FaultPlan& plan, Core& core);

    std::size_t read(std::span<char> buffer) override;

    /// The body of a JSON call.
    ///
    /// @throws Failure when it is larger than any of ours.
    std::string readAll();

    /// Reads and forgets what is left; false when that would be too much.
    bool drain(std::uint64_t limit);

    std::int64_t bytesRead() const { return bytesRead_; }

private:
    void strike();
    std::size_t receive(std::span<char> buffer);

    Wire& wire_;
    std::vector<char> input_; ///< What came with a head and is not its.
    std::size_t first_ = 0;
    std::size_t last_ = 0;

    std::uint64_t remaining_ = 0;
    std::int64_t bytesRead_ = 0;
    bool awaitsContinue_ = false;
    Core* core_ = nullptr;
    std::optional<Fault> reset_;
    std::optional<Fault> stall_;
    std::optional<Fault> trickle_;
};

} // namespace localb2
