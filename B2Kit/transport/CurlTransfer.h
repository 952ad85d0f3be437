#pragma once

#include "B2Kit/files/FileSource.h"
#include "B2Kit/transport/B2Metrics.h"
#include "B2Kit/transport/B2Transport.h"
#include "B2Kit/transport/BodySink.h"
#include "B2Kit/transport/CurlHandles.h"
#include "B2Kit/transport/CurlTarget.h"
#include "B2Kit/transport/IdleWatch.h"
#include "async/OneShot.h"

#include <array>

/// A request, checked and ready to send.
struct CurlRequest {
    B2HTTPMethod method = B2HTTPMethod::post;
    std::string url;
    CurlTarget target;
    CurlList headers;
    std::chrono::seconds idleLimit{60};
    std::shared_ptr<const std::string> body; ///< Of a POST from memory.
    std::unique_ptr<FileSource> file;        ///< Of a POST from a file; then there is no `body`.
};

/// One request on its way: the callbacks between libcurl and what is sent and received.
///
/// Shared by the waiting coroutine and the engine. From its hand-over until `done` only the engine's thread touches
/// it, and every buffer lives until then.
class CurlTransfer {
public:
    using TimePoint = IdleWatch::TimePoint;

    CurlTransfer(CurlRequest request, std::shared_ptr<BodySink> sink, B2Progress onProgress);

    const CurlTarget& target() const { return request_.target; }

    /// Takes a handle and sets what differs from request to request.
    void attach(CurlEasy easy);

    /// Gives the handle back, with no pointer into this transfer left in it, and lets go of sink, source and progress:
    /// what they hold is gone before the waiting coroutine goes on.
    CurlEasy detach();

    CURL* easy() const { return easy_.get(); }

    /// Reports progress and checks for a stall.
    /// @returns false when the transfer has stalled.
    bool sweep(TimePoint now);

    /// Handles bytes that were read ahead of libcurl.
    /// @returns true when libcurl has to be called again at once.
    bool readOn();

    /// The failure, or null after a complete answer. Called before `detach`.
    std::exception_ptr conclude(CURLcode code);

    /// Nothing when no request was sent. Called before `detach`.
    std::optional<B2TransactionMetrics> metrics() const;

    B2HTTPResponse response;
    OneShot<void> done;

private:
    static int onConnected(void* self, char*, char*, int, int);
    static std::size_t onHeader(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t onBody(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t onRead(char* buffer, std::size_t size, std::size_t count, void* self);

    void takeHeaderLine(std::string_view line);
    void tellProgress(std::int64_t sent, std::int64_t received);
    std::int64_t bodyLength() const;

    CurlRequest request_;
    std::shared_ptr<BodySink> sink_;
    B2Progress onProgress_;
    IdleWatch idle_;
    CurlEasy easy_;
    std::array<char, CURL_ERROR_SIZE> detail_{};
    std::exception_ptr error_;  ///< Thrown in a callback, which then ended the transfer.
    bool isConnected_ = false;  ///< The request has begun to go out.
    bool hasBodyBegun_ = false; ///< The headers are complete.
    bool hasEnough_ = false;    ///< The sink wants no more.
    bool wasRepeated_ = false;  ///< libcurl was about to send the request again.
    std::size_t headerBytes_ = 0;
    std::int64_t bodyBytes_ = 0;
    std::int64_t readOnAt_ = 0; ///< Bytes received when `readOn` last asked for more.
    std::int64_t toldProgress_ = 0;
};

/// Sets what all requests have in common.
void configureHandle(CURL* easy, const std::string& userAgent, const std::string& certificateAuthorityFile);
