#include "localb2/AnswerWriter.h"

#include "localb2/Encoding.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace localb2 {

namespace {

std::string_view reasonOf(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 206:
        return "Partial Content";
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 408:
        return "Request Timeout";
    case 409:
        return "Conflict";
    case 416:
        return "Range Not Satisfiable";
    case 429:
        return "Too Many Requests";
    case 500:
        return "Internal Server Error";
    case 502:
        return "Bad Gateway";
    case 503:
        return "Service Unavailable";
    case 504:
        return "Gateway Timeout";
    default:
        return "Status";
    }
}

/// Makes a value that can never end its header line, whatever its content.
void appendHeader(std::string& out, std::string_view name, std::string_view value)
{
    out += name;
    out += ": ";
    for (const char c : value)
        out += static_cast<unsigned char>(c) < 32 || c == 127 ? ' ' : c;
    out += "\r\n";
}

std::string headOf(const Answer& answer, std::int64_t length, Milliseconds now)
{
    std::string head = "HTTP/1.1 " + std::to_string(answer.status) + " ";
    head += reasonOf(answer.status);
    head += "\r\n";
    const auto has = [&](std::string_view name) {
        return std::ranges::any_of(
            answer.headers, [&](const auto& header) { return equalIgnoringCase(header.first, name); });
    };
    if (!answer.type.empty())
        appendHeader(head, "Content-Type", answer.type);
    if (!has("Content-Length"))
        appendHeader(head, "Content-Length", std::to_string(length));
    appendHeader(head, "Date", httpDate(now));
    if (!has("Cache-Control"))
        appendHeader(head, "Cache-Control", "max-age=0, no-cache, no-store");
    for (const auto& [name, value] : answer.headers)
        appendHeader(head, name, value);
    if (answer.endsConnection)
        appendHeader(head, "Connection", "close");
    return head += "\r\n";
}

void applyHeaderFault(Answer& answer, const Fault& fault)
{
    for (const auto& [name, value] : fault.headers) {
        std::erase_if(answer.headers, [&name](const auto& header) { return equalIgnoringCase(header.first, name); });
        if (equalIgnoringCase(name, "Content-Type"))
            answer.type = value.value_or("");
        else if (value)
            answer.headers.emplace_back(name, *value);
    }
}

void writeSlices(Wire& wire, const std::vector<Slice>& slices)
{
    for (const auto& slice : slices) {
        if (slice.file.empty()) {
            wire.write(slice.data);
            continue;
        }
        const int file = ::open(slice.file.c_str(), O_RDONLY | O_CLOEXEC);
        if (file < 0)
            throw Disconnected();
        try {
            wire.writeFile(file, slice.offset, slice.length);
        } catch (...) {
            ::close(file);
            throw;
        }
        ::close(file);
    }
}

/// Writes a body piece by piece and applies the faults to it.
class FaultyBody {
public:
    FaultyBody(Wire& wire, const FaultPlan& plan, Core& core, Sent& sent)
        : wire_(wire)
        , core_(core)
        , sent_(sent)
        , reset_(plan.first(Fault::Kind::resetAnswer))
        , truncate_(plan.first(Fault::Kind::truncate))
        , corrupt_(plan.first(Fault::Kind::corrupt))
        , stall_(plan.first(Fault::Kind::stall, false))
        , trickle_(plan.first(Fault::Kind::trickle, false))
    {
    }

    void write(BodyReader& body)
    {
        std::array<char, 65536> buffer;
        while (!sent_.endsConnection) {
            strike();
            if (sent_.endsConnection)
                return;
            const auto count = body.read(std::span(buffer).first(nextPiece(buffer.size())));
            if (count == 0)
                return;
            corruptWithin(std::span(buffer).first(count));
            wire_.write({buffer.data(), count});
            sent_.bytes += static_cast<std::int64_t>(count);
            if (trickle_)
                pause(std::chrono::milliseconds(
                    1000 * static_cast<std::int64_t>(count) / std::max<std::int64_t>(1, trickle_->bytesPerSecond)));
        }
    }

private:
    /// Applies what happens at the next byte.
    void strike()
    {
        if (stall_ && sent_.bytes >= stall_->at) {
            pause(std::chrono::milliseconds(stall_->milliseconds));
            stall_ = nullptr;
        }
        if (reset_ && sent_.bytes >= reset_->at) {
            wire_.resetAtEnd();
            sent_.endsConnection = true;
        }
        if (truncate_ && sent_.bytes >= truncate_->at)
            sent_.endsConnection = true;
    }

    /// Returns the size of the next piece: up to the next fault, or a tenth of a second when trickled.
    std::size_t nextPiece(std::size_t limit) const
    {
        auto size = static_cast<std::int64_t>(limit);
        for (const auto* const fault : {reset_, truncate_, stall_}) {
            if (fault)
                size = std::min(size, fault->at - sent_.bytes);
        }
        if (trickle_)
            size = std::min(size, std::max<std::int64_t>(1, trickle_->bytesPerSecond / 10));
        return static_cast<std::size_t>(size);
    }

    void corruptWithin(std::span<char> bytes) const
    {
        const auto at = corrupt_ ? corrupt_->at - sent_.bytes : -1;
        if (at >= 0 && at < static_cast<std::int64_t>(bytes.size()))
            bytes[static_cast<std::size_t>(at)] ^= 0x20;
    }

    void pause(std::chrono::milliseconds duration)
    {
        if (!core_.stop.wait(duration))
            throw Disconnected();
    }

    Wire& wire_;
    Core& core_;
    Sent& sent_;
    const Fault* reset_;
    const Fault* truncate_;
    const Fault* corrupt_;
    const Fault* stall_;
    const Fault* trickle_;
};

} // namespace

Sent writeAnswer(Wire& wire, Answer answer, const FaultPlan& plan, Core& core)
{
    if (const auto* const garble = plan.first(Fault::Kind::garble)) {
        answer.status = garble->status;
        answer.slices.clear();
        answer.body = garble->body.value_or("<html><body>Something else</body></html>");
        answer.type = garble->contentType.empty() ? "text/html" : garble->contentType;
    }
    if (const auto* const headers = plan.first(Fault::Kind::headers))
        applyHeaderFault(answer, *headers);

    const auto length = answer.length();
    const auto head = headOf(answer, length, core.now());
    Sent sent{.endsConnection = answer.endsConnection};
    if (answer.isBodyLeftOut) {
        wire.write(head);
        return sent;
    }
    if (!plan.isEmpty()) {
        if (answer.slices.empty())
            answer.slices.push_back({.data = answer.body, .length = length});
        wire.write(head);
        const bool endsAnyway = sent.endsConnection;
        sent.endsConnection = false;
        SliceReader body(std::move(answer.slices));
        FaultyBody(wire, plan, core, sent).write(body);
        sent.endsConnection = sent.endsConnection || endsAnyway;
        return sent;
    }
    if (answer.slices.empty()) {
        // In one write, so that a small answer is one packet.
        wire.write(head + answer.body);
    } else {
        wire.write(head);
        writeSlices(wire, answer.slices);
    }
    sent.bytes = length;
    return sent;
}

} // namespace localb2
