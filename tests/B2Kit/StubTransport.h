#pragma once

#include "B2Kit/B2Error.h"
#include "B2Kit/transport/B2Transport.h"
#include "async/OneShot.h"

#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>

/// A transport that gives the answers the test has set for each operation.
///
/// An operation is the call's name in the address; downloads by name are "b2_download_file_by_name". An operation
/// without an answer fails with a B2Error that says so and is never retried.
class StubTransport final : public B2Transport {
public:
    struct Reply {
        int status = 200;
        std::string body;
        std::vector<B2HTTPHeader> headers;
        std::string sha1; ///< Of a download to a file, as the transport would have computed it.
    };
    /// Answers a request, or throws.
    using Handler = std::function<Reply(const B2HTTPRequest&)>;

    StubTransport& answer(const std::string& operation, std::string body)
    {
        return answer(operation, Reply{200, std::move(body)});
    }
    StubTransport& answer(const std::string& operation, Reply reply)
    {
        return handle(operation, [reply = std::move(reply)](const B2HTTPRequest&) { return reply; });
    }
    StubTransport& refuse(const std::string& operation, int status, const std::string& code,
        const std::string& message = "why", std::vector<B2HTTPHeader> headers = {})
    {
        return answer(operation,
            Reply{status,
                R"({"status": )" + std::to_string(status) + R"(, "code": ")" + code + R"(", "message": ")" + message
                    + "\"}",
                std::move(headers)});
    }
    template <class Failure>
    StubTransport& fail(const std::string& operation, Failure failure)
    {
        return handle(operation, [failure](const B2HTTPRequest&) -> Reply { throw failure; });
    }
    StubTransport& loseConnection(const std::string& operation)
    {
        return fail(operation, B2TransportError(B2TransportError::Code::connectionLost, "The connection was lost."));
    }
    StubTransport& handle(const std::string& operation, Handler handler)
    {
        const std::lock_guard lock(mutex_);
        queues_[operation].push_back(std::move(handler));
        return *this;
    }
    /// Handles every further request of the operation.
    void always(const std::string& operation, Handler handler)
    {
        const std::lock_guard lock(mutex_);
        defaults_[operation] = std::move(handler);
    }

    /// Holds the requests of the operation back until this many have arrived.
    void gather(const std::string& operation, std::size_t count)
    {
        const std::lock_guard lock(mutex_);
        gatherings_[operation].wanted = count;
    }

    std::vector<B2HTTPRequest> requests(const std::string& operation) const
    {
        const std::lock_guard lock(mutex_);
        const auto found = requests_.find(operation);
        return found == requests_.end() ? std::vector<B2HTTPRequest>() : found->second;
    }
    std::size_t count(const std::string& operation) const { return requests(operation).size(); }

    /// Called for each upload before it is answered; can report progress. Set before the first upload.
    std::function<void(const B2HTTPRequest&, const B2UploadBody&, const B2Progress&)> onUpload;

    Task<B2DataReply> data(B2HTTPRequest request) override
    {
        auto reply = co_await meet(std::move(request));
        co_return B2DataReply{std::move(reply.body), {reply.status, std::move(reply.headers)}};
    }

    Task<B2DownloadReply> download(B2HTTPRequest request, B2Place destination, B2Progress onProgress) override
    {
        auto reply = co_await meet(std::move(request));
        B2DownloadReply download;
        download.response = {reply.status, std::move(reply.headers)};
        if (reply.status != 200 && reply.status != 206) {
            download.errorBody = std::move(reply.body);
            co_return download;
        }
        const auto path = destination.beside(".stub.part").path;
        std::ofstream(path, std::ios::binary) << reply.body;
        download.file = B2TemporaryFile(destination.beside(".stub.part"));
        download.byteCount = static_cast<std::int64_t>(reply.body.size());
        download.sha1 = std::move(reply.sha1);
        if (onProgress)
            onProgress(download.byteCount, download.byteCount);
        co_return download;
    }

    Task<B2DataReply> upload(B2HTTPRequest request, B2UploadBody body, B2Progress onProgress) override
    {
        if (onUpload)
            onUpload(request, body, onProgress);
        if (const auto* const memory = std::get_if<std::shared_ptr<const std::string>>(&body))
            request.body = **memory;
        return data(std::move(request));
    }

private:
    struct Gathering {
        std::size_t wanted = 0;
        std::vector<OneShot<void>> waiting;
    };

    static std::string operationOf(const std::string& url)
    {
        const auto start = url.find("/b2_");
        if (start == std::string::npos)
            return "b2_download_file_by_name";
        return url.substr(start + 1, url.find_first_of("/?", start + 1) - start - 1);
    }

    Task<Reply> meet(B2HTTPRequest request)
    {
        const auto operation = operationOf(request.url);
        co_await checkCancelled();
        if (const auto gathered = arrive(operation, request))
            co_await gathered->wait();
        co_return take(operation)(request);
    }

    std::optional<OneShot<void>> arrive(const std::string& operation, const B2HTTPRequest& request)
    {
        const std::lock_guard lock(mutex_);
        requests_[operation].push_back(request);
        auto& gathering = gatherings_[operation];
        if (requests_[operation].size() > gathering.wanted)
            return std::nullopt;
        gathering.waiting.emplace_back();
        const auto mine = gathering.waiting.back();
        if (gathering.waiting.size() == gathering.wanted) {
            for (const auto& waiting : gathering.waiting)
                waiting.set();
        }
        return mine;
    }

    Handler take(const std::string& operation)
    {
        const std::lock_guard lock(mutex_);
        auto& queue = queues_[operation];
        if (queue.empty()) {
            if (const auto found = defaults_.find(operation); found != defaults_.end())
                return found->second;
            throw B2Error(B2Error::InvalidResponse{"the test has no answer for " + operation});
        }
        auto handler = std::move(queue.front());
        queue.pop_front();
        return handler;
    }

    mutable std::mutex mutex_;
    std::map<std::string, std::deque<Handler>> queues_;
    std::map<std::string, Handler> defaults_;
    std::map<std::string, Gathering> gatherings_;
    std::map<std::string, std::vector<B2HTTPRequest>> requests_;
};
