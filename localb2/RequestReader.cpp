#include "localb2/RequestReader.h"

#include "localb2/Encoding.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>

#include <algorithm>
#include <array>
#include <cstring>

namespace localb2 {

namespace {

namespace http = boost::beast::http;

constexpr std::size_t headLimit = 65'536;
constexpr std::size_t jsonLimit = 1'048'576;

std::optional<Fault> copied(const Fault* fault)
{
    return fault ? std::optional(*fault) : std::nullopt;
}

void splitTarget(Request& request, std::string_view target)
{
    const auto question = std::min(target.find('?'), target.size());
    request.path = target.substr(0, question);
    auto query = target.substr(std::min(question + 1, target.size()));
    while (!query.empty()) {
        const auto end = std::min(query.find('&'), query.size());
        const auto item = query.substr(0, end);
        const auto equals = std::min(item.find('='), item.size());
        auto name = percentDecoded(item.substr(0, equals));
        auto value = percentDecoded(item.substr(std::min(equals + 1, item.size())));
        if (name && value && !name->empty())
            request.query[*name] = std::move(*value);
        query.remove_prefix(std::min(end + 1, query.size()));
    }
}

Request requestOf(const http::request_parser<http::empty_body>& parser)
{
    const auto& message = parser.get();
    Request request;
    request.method = message.method_string();
    splitTarget(request, message.target());
    for (const auto& field : message)
        request.headers.emplace_back(field.name_string(), field.value());
    if (const auto length = parser.content_length())
        request.contentLength = *length;
    if (parser.chunked())
        throw badRequest("Chunked bodies are not accepted");
    return request;
}

} // namespace

RequestReader::RequestReader(Wire& wire)
    : wire_(wire)
    , input_(headLimit)
{
}

std::optional<Request> RequestReader::readHead()
{
    http::request_parser<http::empty_body> parser;
    parser.header_limit(headLimit);
    parser.body_limit(boost::none);
    while (true) {
        if (last_ > first_) {
            boost::system::error_code error;
            const auto used = parser.put(boost::asio::buffer(input_.data() + first_, last_ - first_), error);
            first_ += used;
            if (parser.is_header_done())
                return requestOf(parser);
            if (error && error != http::error::need_more)
                throw badRequest("No HTTP request: " + error.message());
        }
        std::memmove(input_.data(), input_.data() + first_, last_ - first_);
        last_ -= first_;
        first_ = 0;
        if (last_ == input_.size())
            throw badRequest("The head of the request is too large");
        const auto count = wire_.read(std::span(input_).subspan(last_));
        if (count == 0)
            return std::nullopt;
        last_ += count;
    }
}

void RequestReader::beginBody(const Request& request, const FaultPlan& plan, Core& core)
{
    core_ = &core;
    remaining_ = request.contentLength.value_or(0);
    bytesRead_ = 0;
    const auto* const expect = request.header("Expect");
    awaitsContinue_ = expect && equalIgnoringCase(*expect, "100-continue") && remaining_ > 0;
    reset_ = copied(plan.first(Fault::Kind::resetRequest));
    stall_ = copied(plan.first(Fault::Kind::stall, true));
    trickle_ = copied(plan.first(Fault::Kind::trickle, true));
    strike();
}

void RequestReader::strike()
{
    if (stall_ && bytesRead_ >= stall_->at) {
        const auto duration = std::chrono::milliseconds(stall_->milliseconds);
        stall_.reset();
        if (!core_->stop.wait(duration))
            throw Disconnected();
    }
    if (reset_ && bytesRead_ >= reset_->at) {
        wire_.resetAtEnd();
        throw Disconnected();
    }
}

std::size_t RequestReader::receive(std::span<char> buffer)
{
    if (last_ == first_)
        return wire_.read(buffer);
    const auto count = std::min(buffer.size(), last_ - first_);
    std::copy_n(input_.data() + first_, count, buffer.data());
    first_ += count;
    return count;
}

std::size_t RequestReader::read(std::span<char> buffer)
{
    auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), remaining_));
    if (wanted == 0)
        return 0;
    if (awaitsContinue_) {
        awaitsContinue_ = false;
        wire_.write("HTTP/1.1 100 Continue\r\n\r\n");
    }
    for (const auto& fault : {reset_, stall_}) {
        if (fault)
            wanted = std::min(wanted, static_cast<std::size_t>(fault->at - bytesRead_));
    }
    if (trickle_)
        wanted = std::min(wanted, static_cast<std::size_t>(std::max<std::int64_t>(1, trickle_->bytesPerSecond / 10)));
    const auto count = receive(buffer.first(wanted));
    if (count == 0)
        throw Disconnected();
    remaining_ -= count;
    bytesRead_ += static_cast<std::int64_t>(count);
    if (trickle_) {
        const auto pause =
            1000 * static_cast<std::int64_t>(count) / std::max<std::int64_t>(1, trickle_->bytesPerSecond);
        if (!core_->stop.wait(std::chrono::milliseconds(pause)))
            throw Disconnected();
    }
    strike();
    return count;
}

std::string RequestReader::readAll()
{
    if (remaining_ > jsonLimit)
        throw badRequest("The body is too large");
    std::string body(static_cast<std::size_t>(remaining_), '\0');
    for (std::size_t done = 0; done < body.size();)
        done += read(std::span(body).subspan(done));
    return body;
}

bool RequestReader::drain(std::uint64_t limit)
{
    // A client that is still waiting for permission to send has sent nothing.
    if (awaitsContinue_ || remaining_ > limit)
        return remaining_ == 0;
    std::array<char, 65536> buffer;
    while (remaining_ > 0)
        read(buffer);
    return true;
}

} // namespace localb2
