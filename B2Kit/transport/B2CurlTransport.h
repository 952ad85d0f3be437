#pragma once

#include "B2Kit/transport/B2Metrics.h"
#include "B2Kit/transport/B2Transport.h"

#include <memory>
#include <string>

class CurlEngine;

struct B2CurlTransportOptions {
    int maxConnectionsPerHost = 8;
    std::string userAgent;                  ///< Empty for none.
    std::shared_ptr<B2MetricsSink> metrics; ///< Null for none.
    std::string certificateAuthorityFile;   ///< PEM to trust instead of the system's; for a local service with TLS.
};

/// Sends HTTP requests through libcurl, on one thread whose connections and TLS sessions are reused.
///
/// TLS 1.2 up, peer and host verified, https only (http for loopback addresses), no redirects, nothing read from the
/// environment. Answers in memory are capped at 64 MB, header bytes at 1 MB. One instance serves all clients.
///
/// Progress is reported about ten times a second, on the transport's thread, and never after the request has ended.
/// A request is sent once: where a reused connection turns out closed, it fails with `connectionLost`.
class B2CurlTransport final : public B2Transport {
public:
    explicit B2CurlTransport(B2CurlTransportOptions options);

    /// Ends running requests with `Cancelled` and joins the thread.
    ~B2CurlTransport() override;

    Task<B2DataReply> data(B2HTTPRequest request) override;
    Task<B2DownloadReply> download(B2HTTPRequest request, B2Place destination, B2Progress onProgress) override;
    Task<B2DataReply> upload(B2HTTPRequest request, B2UploadBody body, B2Progress onProgress) override;

private:
    std::unique_ptr<CurlEngine> engine_;
};
