#include "B2Kit/B2Client.h"
#include "B2Kit/calls/B2DownloadMetadata.h"
#include "B2Kit/files/B2FileWorker.h"
#include "B2Kit/pipeline/B2ClientTools.h"
#include "B2Kit/pipeline/B2Pipeline.h"
#include "B2Kit/wire/B2PercentEncoding.h"
#include "B2Kit/wire/B2URL.h"

/// A download and the bytes that it asks for.
struct B2Client::Download {
    std::string_view operation;
    std::function<std::string(const B2Authorization&)> url;
    std::optional<B2ByteRange> range;
    bool verifies = true;
    B2Progress onProgress;
    std::shared_ptr<B2RetryReporter> reporter;

    explicit Download(B2DownloadByNameRequest request)
        : operation("b2_download_file_by_name")
        , url([bucketName = std::move(request.bucketName), fileName = std::move(request.fileName)](
                  const B2Authorization& authorization) {
            return fileURL(authorization.storage.downloadURL, bucketName, fileName);
        })
        , range(request.range)
        , verifies(request.verifies)
        , onProgress(std::move(request.onProgress))
        , reporter(std::make_shared<B2RetryReporter>(std::move(request.onRetry)))
    {
    }

    explicit Download(B2DownloadByIDRequest request)
        : operation("b2_download_file_by_id")
        , url([fileID = std::move(request.fileID)](const B2Authorization& authorization) {
            return callURL(authorization.storage.downloadURL, b2APIVersion, "b2_download_file_by_id")
                + "?fileId=" + percentEncoded(fileID);
        })
        , range(request.range)
        , verifies(request.verifies)
        , onProgress(std::move(request.onProgress))
        , reporter(std::make_shared<B2RetryReporter>(std::move(request.onRetry)))
    {
    }

    /// The address by name.
    static std::string fileURL(
        const std::string& downloadURL, const std::string& bucketName, const std::string& fileName)
    {
        auto url = appendingPath(downloadURL, "/file/") + bucketName + "/" + percentEncodedName(fileName);
        // The name of a bucket is inserted as it is and must not change the rest of the address.
        if (percentEncoded(bucketName) != bucketName)
            throw B2Error(B2Error::InvalidURL{std::move(url)});
        return url;
    }

    /// The call, without the function that sends it.
    template <class Reply>
    B2Call<Reply> call() const
    {
        B2Call<Reply> call;
        call.operation = operation;
        call.accepts = isContent;
        call.reporter = reporter.get();
        call.makeRequest = [this](const B2Authorization& authorization) {
            B2HTTPRequest request;
            request.method = B2HTTPMethod::get;
            request.url = url(authorization);
            request.headers = {{"Authorization", authorization.authorizationToken}};
            if (range)
                request.headers.push_back(
                    {"Range", "bytes=" + std::to_string(range->first) + "-" + std::to_string(range->last)});
            return request;
        };
        return call;
    }
};

Task<B2DownloadedFile> B2Client::downloadByName(B2DownloadByNameRequest request)
{
    return downloadToMemory(Download(std::move(request)));
}

Task<B2DownloadedFile> B2Client::downloadByID(B2DownloadByIDRequest request)
{
    return downloadToMemory(Download(std::move(request)));
}

Task<B2FileMetadata> B2Client::downloadByNameToFile(B2DownloadByNameRequest request, B2FileDestination destination)
{
    return downloadToFile(Download(std::move(request)), std::move(destination));
}

Task<B2FileMetadata> B2Client::downloadByIDToFile(B2DownloadByIDRequest request, B2FileDestination destination)
{
    return downloadToFile(Download(std::move(request)), std::move(destination));
}

Task<B2DownloadedFile> B2Client::downloadToMemory(Download download)
{
    auto call = download.call<B2DataReply>();
    call.send = [this](B2HTTPRequest request) { return tools_->transport->data(std::move(request)); };
    auto reply = co_await perform(std::move(call));
    B2DownloadedFile file{.data = std::move(reply.body)};
    file.metadata = metadataFrom(reply.response, static_cast<std::int64_t>(file.data.size()));
    if (const auto reason = reasonNotToCheck(file.metadata, download.verifies))
        file.metadata.checksum.value = B2ChecksumOutcome::NotVerified{*reason};
    else
        file.metadata.checksum = checkedAgainst(file.metadata, co_await sha1Aside(file.data));
    co_return file;
}

Task<B2FileMetadata> B2Client::downloadToFile(Download download, B2FileDestination destination)
{
    auto call = download.call<B2DownloadReply>();
    // A long download has recovered when bytes arrive again, not when all have arrived.
    const B2Progress onProgress = [reporter = download.reporter, forward = download.onProgress](
                                      std::int64_t done, std::int64_t total) {
        reporter->recovered();
        if (forward)
            forward(done, total);
    };
    call.send = [this, &onProgress, &destination](B2HTTPRequest request) {
        const B2Place place(destination.path, destination.folder);
        return tools_->transport->download(std::move(request), place, onProgress);
    };
    auto reply = co_await perform(std::move(call));
    auto metadata = metadataFrom(reply.response, reply.byteCount);
    if (const auto reason = reasonNotToCheck(metadata, download.verifies))
        metadata.checksum.value = B2ChecksumOutcome::NotVerified{*reason};
    else
        metadata.checksum = checkedAgainst(metadata, reply.sha1);

    co_await checkCancelled();
    if (!destination.modificationDate)
        destination.modificationDate = metadata.lastModified();
    B2FileWorker worker;
    co_await worker.place(std::move(reply.file), std::move(destination));
    co_return metadata;
}

Task<std::string> B2Client::downloadURL(std::string bucketName, std::string fileName, std::optional<std::string> token)
{
    const auto authorization = co_await currentAuthorization();
    auto url = Download::fileURL(authorization->storage.downloadURL, bucketName, fileName);
    if (token)
        url += "?Authorization=" + percentEncoded(*token);
    co_return url;
}
