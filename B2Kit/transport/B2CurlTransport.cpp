#include "B2Kit/transport/B2CurlTransport.h"

#include "B2Kit/files/FileFaults.h"
#include "B2Kit/transport/CurlEngine.h"
#include "B2Kit/transport/DownloadSink.h"

namespace {

CurlRequest checkedRequest(B2HTTPRequest request)
{
    CurlRequest checked;
    checked.target = checkedTarget(request.url);
    checked.headers = headerLines(request.headers);
    checked.method = request.method;
    checked.url = std::move(request.url);
    checked.idleLimit = request.idleLimit;
    checked.body = std::make_shared<const std::string>(std::move(request.body));
    return checked;
}

} // namespace

B2CurlTransport::B2CurlTransport(B2CurlTransportOptions options)
    : engine_(std::make_unique<CurlEngine>(std::move(options)))
{
}

B2CurlTransport::~B2CurlTransport() = default;

Task<B2DataReply> B2CurlTransport::data(B2HTTPRequest request)
{
    const auto sink = std::make_shared<MemorySink>();
    const auto transfer = std::make_shared<CurlTransfer>(checkedRequest(std::move(request)), sink, B2Progress());
    co_await engine_->carryOut(transfer);
    co_return B2DataReply{std::move(sink->body), std::move(transfer->response)};
}

Task<B2DownloadReply> B2CurlTransport::download(B2HTTPRequest request, B2Place destination, B2Progress onProgress)
{
    auto checked = checkedRequest(std::move(request));
    checkDestination(destination);
    const auto sink = std::make_shared<DownloadSink>(std::move(destination));
    const auto transfer = std::make_shared<CurlTransfer>(std::move(checked), sink, std::move(onProgress));
    co_await engine_->carryOut(transfer);
    co_return B2DownloadReply{std::move(sink->file), sink->byteCount, std::move(sink->sha1), std::move(sink->errorBody),
        std::move(transfer->response)};
}

Task<B2DataReply> B2CurlTransport::upload(B2HTTPRequest request, B2UploadBody body, B2Progress onProgress)
{
    auto checked = checkedRequest(std::move(request));
    if (auto* const range = std::get_if<B2FileRange>(&body))
        checked.file = std::make_unique<FileSource>(std::move(*range));
    else if (const auto& memory = std::get<std::shared_ptr<const std::string>>(body))
        checked.body = memory;
    const auto sink = std::make_shared<MemorySink>();
    const auto transfer = std::make_shared<CurlTransfer>(std::move(checked), sink, std::move(onProgress));
    co_await engine_->carryOut(transfer);
    co_return B2DataReply{std::move(sink->body), std::move(transfer->response)};
}
