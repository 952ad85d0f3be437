#pragma once

#include "localb2/Core.h"
#include "localb2/Wire.h"

#include <optional>
#include <string>
#include <vector>

namespace localb2 {

/// Reads requests from a connection: the head at once, the body on demand.
class RequestReader final : public BodyReader {
public:
    explicit RequestReader(Wire& wire);

    /// Reads the next request without its body; nothing when the peer has finished.
    ///
    /// @throws Failure 400 when the input is not a request.
    std::optional<Request> readHead();

    /// Makes the body of the request readable and applies the faults of the plan to it.
    void beginBody(const Request& request, const FaultPlan& plan, Core& core);

    std::size_t read(std::span<char> buffer) override;

    /// Reads the body of a JSON call.
    ///
    /// @throws Failure when it is larger than any call needs.
    std::string readAll();

    /// Reads and discards the rest; false when that would be too much.
    bool drain(std::uint64_t limit);

    std::int64_t bytesRead() const { return bytesRead_; }

private:
    void strike();
    std::size_t receive(std::span<char> buffer);

    Wire& wire_;
    std::vector<char> input_; ///< Bytes that came with a head and belong to what follows it.
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
