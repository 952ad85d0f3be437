#include "localb2/Connection.h"

#include "localb2/AnswerWriter.h"
#include "localb2/Encoding.h"
#include "localb2/RequestReader.h"
#include "localb2/Router.h"

#include <algorithm>
#include <chrono>

namespace localb2 {

namespace {

/// Bytes of a refused upload that are still read, so that the client receives the refusal.
constexpr std::uint64_t drainLimit = 268'435'456;

Answer answerOf(const Fault& fault)
{
    auto answer = answerTo(Failure(fault.status, fault.code, fault.message));
    if (fault.body) {
        answer.body = *fault.body;
        answer.type = "text/html";
    }
    if (!fault.contentType.empty())
        answer.type = fault.contentType;
    if (fault.retryAfter)
        answer.headers.emplace_back("Retry-After", *fault.retryAfter);
    return answer;
}

Answer capAnswer(const Fault& fault)
{
    return answerTo(Failure(403, fault.which + "_cap_exceeded",
        "Cannot serve this request, the " + fault.which
            + " cap is exceeded. See the Caps & Alerts page to increase your cap."));
}

void expireTokens(Core& core)
{
    const std::scoped_lock lock(core.mutex);
    for (const auto kind : {Token::Kind::account, Token::Kind::upload, Token::Kind::part, Token::Kind::download})
        core.tokens.expireAll(kind);
}

Answer performed(Core& core, const Request& request, const Route& route)
{
    try {
        return serve(core, request, route);
    } catch (const Failure& failure) {
        auto answer = answerTo(failure);
        if (failure.status == 401 && route.kind == Route::Kind::authorize)
            answer.headers.emplace_back("WWW-Authenticate", "BASIC realm=\"authorize_account\"");
        answer.isBodyLeftOut = request.method == "HEAD";
        return answer;
    } catch (const Disconnected&) {
        throw;
    } catch (const std::exception& error) {
        return answerTo(Failure(500, "internal_error", error.what()));
    }
}

/// The headers that tests ask about. None of them holds a secret.
std::string tellingHeaders(const Request& request)
{
    static constexpr std::string_view shown[] = {"Range", "Content-Type", "User-Agent", "X-Bz-File-Name",
        "X-Bz-Content-Sha1", "X-Bz-Part-Number", "X-Bz-Test-Mode", "Expect"};
    std::string out;
    {
        JSONObject object(out);
        for (const auto name : shown) {
            if (const auto* const value = request.header(name))
                object.text(name, *value);
        }
    }
    return out;
}

bool wantsToEnd(const Request& request)
{
    const auto* const header = request.header("Connection");
    return header && equalIgnoringCase(*header, "close");
}

/// One request and its answer.
class Exchange {
public:
    Exchange(Wire& wire, RequestReader& reader, Core& core)
        : wire_(wire)
        , reader_(reader)
        , core_(core)
    {
    }

    /// Returns false when the connection has ended.
    bool run()
    {
        const auto request = reader_.readHead();
        if (!request)
            return false;
        request_ = std::move(*request);
        begin_ = std::chrono::steady_clock::now();
        route_ = routeOf(request_.path);
        const auto* const fileName = request_.header("X-Bz-File-Name");
        if (route_.kind != Route::Kind::control)
            plan_ = core_.faults.match(route_.operation, request_.path, fileName ? *fileName : std::string());
        entry_ = {.time = core_.now(),
            .operation = route_.operation.empty() ? "unknown" : route_.operation,
            .method = request_.method,
            .path = request_.path.substr(0, 2000),
            .fault = plan_.kinds(),
            .headers = tellingHeaders(request_)};
        try {
            return answer();
        } catch (const Disconnected&) {
            note(0);
            return false;
        }
    }

private:
    bool answer()
    {
        reader_.beginBody(request_, plan_, core_);
        if (!route_.isUpload()) {
            request_.body = reader_.readAll();
            entry_.body = request_.body.substr(0, 2000);
        } else {
            request_.upload = &reader_;
        }
        if (plan_.first(Fault::Kind::expireTokens))
            expireTokens(core_);
        auto answer = answerFor();
        if (!reader_.drain(drainLimit))
            answer.endsConnection = true;
        answer.endsConnection = answer.endsConnection || wantsToEnd(request_);
        wait();
        if (plan_.first(Fault::Kind::loseReply)) {
            wire_.resetAtEnd();
            note(0);
            return false;
        }
        entry_.status = answer.status;
        // Recorded first, so that a client which has the answer finds it in the history.
        note(answer.isBodyLeftOut ? 0 : answer.length());
        const auto sent = writeAnswer(wire_, std::move(answer), plan_, core_);
        if (number_ > 0)
            core_.journal.settle(number_, sent.bytes, elapsed());
        return !sent.endsConnection;
    }

    Answer answerFor()
    {
        const auto* const refusal = plan_.first(Fault::Kind::status);
        const auto* const cap = plan_.first(Fault::Kind::capReached);
        if (!refusal && !cap)
            return performed(core_, request_, route_);
        // A refusal of this kind uses up the upload URL, as at the real service.
        if (refusal && route_.isUpload() && refusal->status != 400 && refusal->status != 403) {
            const std::scoped_lock lock(core_.mutex);
            if (const auto* const token = request_.header("Authorization"))
                core_.tokens.expire(*token);
        }
        return refusal ? answerOf(*refusal) : capAnswer(*cap);
    }

    void wait()
    {
        const auto latency = core_.settings.latencyMilliseconds.load();
        if (latency > 0 && route_.kind != Route::Kind::control && !core_.stop.wait(std::chrono::milliseconds(latency)))
            throw Disconnected();
    }

    void note(std::int64_t bytesOut)
    {
        if (route_.kind == Route::Kind::control || number_ > 0)
            return;
        entry_.bytesIn = reader_.bytesRead();
        entry_.bytesOut = bytesOut;
        entry_.milliseconds = elapsed();
        number_ = core_.journal.add(std::move(entry_));
    }

    std::int64_t elapsed() const
    {
        const auto time = std::chrono::steady_clock::now() - begin_;
        return std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
    }

    Wire& wire_;
    RequestReader& reader_;
    Core& core_;
    Request request_;
    Route route_;
    FaultPlan plan_;
    JournalEntry entry_;
    std::int64_t number_ = 0; ///< Number of the entry, once it is recorded.
    std::chrono::steady_clock::time_point begin_;
};

} // namespace

void serveConnection(Wire& wire, Core& core)
{
    RequestReader reader(wire);
    try {
        wire.open();
        while (Exchange(wire, reader, core).run()) {}
    } catch (const Disconnected&) {
        return;
    } catch (const Failure& failure) {
        // After a head that is not an HTTP request, nothing more can be read.
        try {
            auto answer = answerTo(failure);
            answer.endsConnection = true;
            writeAnswer(wire, std::move(answer), FaultPlan(), core);
        } catch (const Disconnected&) {
            return;
        }
    }
}

} // namespace localb2
