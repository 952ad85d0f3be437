#pragma once

#include "B2Kit/B2Authorization.h"
#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2Credentials.h"
#include "B2Kit/B2Download.h"
#include "B2Kit/B2File.h"
#include "B2Kit/B2Key.h"
#include "B2Kit/B2Log.h"
#include "B2Kit/B2Requests.h"
#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "B2Kit/transport/B2Transport.h"
#include "B2Kit/uploads/B2Upload.h"
#include "async/Executor.h"
#include "async/SingleFlight.h"
#include "async/Stream.h"

#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

template <class Target>
class UploadURLPool;
template <class Reply>
struct B2Call;
struct B2APIError;
struct B2CallProgress;
struct B2ClientTools;
struct B2FailureStep;
struct B2JSONCall;
struct B2StatusStep;

/// The service's production host, which authorizes the keys of every account.
inline constexpr std::string_view b2AccountEndpoint = "https://api.backblazeb2.com";

/// The parts a client is built from.
struct B2ClientOptions {
    B2Credentials credentials;
    std::shared_ptr<B2Transport> transport;
    B2RetryPolicy retryPolicy;
    std::shared_ptr<B2Sleeper> sleeper;
    std::function<double()> jitter; ///< Uniform in 0 to 1; called from any thread.
    std::shared_ptr<B2LogSink> log;
    std::string accountEndpoint{b2AccountEndpoint}; ///< https, or http on a loopback address.
};

/// Carries out the calls of the B2 native API for one application key.
///
/// An actor. Every member may be called from any executor, runs on the client's own and resumes on the caller's; many
/// calls interleave. Renews an expired token and retries as its policy says. Hold the client by shared_ptr for as long
/// as a call runs.
///
/// Calls throw B2Error when the service refuses or sends an invalid answer, B2TransportError when the retries after a
/// lost connection are spent, B2FileError for a local file and Cancelled when the calling task was asked to stop.
class B2Client final : public Actor, public std::enable_shared_from_this<B2Client> {
public:
    static std::shared_ptr<B2Client> make(B2ClientOptions options);
    ~B2Client();

    const std::string& keyID() const { return credentials_.keyID; }
    /// For the parts of B2Kit that are built over the client; see B2ClientTools.h.
    const B2ClientTools& tools() const { return *tools_; }

    // --- Authorization

    /// Returns the cached record; never triggers a call.
    Task<std::optional<B2Authorization>> authorization();
    Task<std::set<B2Capability>> capabilities();
    /// Returns the cached record, or that of the one authorization in flight, which is started if there is none.
    Task<B2Authorization> authorized();
    /// Forgets the record and the idle upload URLs, then authorizes.
    Task<B2Authorization> reauthorize();
    /// Calls `b2_authorize_account` once, without retries.
    Task<B2Authorization> authorizeAccount();

    // --- Buckets

    Task<B2Bucket> createBucket(B2CreateBucketRequest request);
    Task<B2Bucket> updateBucket(B2UpdateBucketRequest request);
    /// Writes both sides of a bucket's replication; an absent side is removed at the service.
    Task<B2Bucket> setReplication(B2SetReplicationRequest request);
    /// If the answer was lost and the bucket is gone, only the ids are set in the result.
    Task<B2Bucket> deleteBucket(std::string bucketID);
    /// Lists every bucket the key can see, or the one with the name; one call for each bucket of a restricted key.
    Task<std::vector<B2Bucket>> listBuckets(std::optional<std::string> name = {});

    // --- Files

    /// Lists one page of the current names.
    Task<B2FileListPage> listFileNames(B2ListFileNamesRequest request);
    /// Lists one page of all versions, newest first within a name.
    Task<B2FileListPage> listFileVersions(B2ListFileVersionsRequest request);
    /// Lists all names, page by page as the consumer asks; the stream holds the client. When the consumer's task is
    /// asked to stop, the stream ends as if there were no more: a consumer that needs them all calls `checkCancelled`
    /// after the end.
    Stream<B2FileVersion> allFileNames(B2ListFileNamesRequest request);
    Stream<B2FileVersion> allFileVersions(B2ListFileVersionsRequest request);
    Task<B2FileVersion> fileInfo(std::string fileID);
    Task<B2DeletedFileVersion> deleteFileVersion(B2DeleteFileVersionRequest request);
    Task<B2FileVersion> hideFile(std::string bucketID, std::string fileName);
    Task<B2LegalHoldResult> setLegalHold(B2SetLegalHoldRequest request);
    /// Obtains a token to read the files under a prefix; the duration is clamped to 1 to 604800 seconds.
    Task<B2DownloadAuthorization> downloadAuthorization(B2DownloadAuthorizationRequest request);

    // --- Keys

    /// Creates a key: with exactly one bucket through version 3 of the API, otherwise through version 4.
    Task<B2CreatedApplicationKey> createKey(B2CreateKeyRequest request);
    /// Lists one page of the keys that one version of the API knows; `allKeys` in B2AccountKeys.h lists them all.
    Task<B2KeysPage> listKeys(B2ListKeysRequest request);
    /// Deletes a key that one version of the API knows; `deleteAccountKey` in B2AccountKeys.h deletes any.
    Task<B2ApplicationKey> deleteKey(B2DeleteKeyRequest request);

    // --- Transfers

    /// Uploads up to 5,000,000,000 bytes in one piece (`b2_upload_file`); each attempt leases an upload URL.
    Task<B2FileVersion> uploadFile(B2UploadFileRequest request);

    // `uploadLargeFile` in B2LargeUpload.h uploads a file in parts through these calls.

    Task<B2FileVersion> startLargeFile(B2StartLargeFileRequest request);
    Task<B2UploadPartTarget> uploadPartURL(std::string fileID);
    /// If the answer was lost, the file's record shows whether it was finished.
    Task<B2FileVersion> finishLargeFile(std::string fileID, std::vector<std::string> partSHA1s);
    /// Looks up the version that a large file has become; nothing if it was not finished.
    /// @throws B2Error when the service does not say.
    Task<std::optional<B2FileVersion>> finishedLargeFile(std::string fileID);
    /// If the answer was lost and the file is gone, only its id is set in the result.
    Task<B2CancelledLargeFile> cancelLargeFile(std::string fileID);
    /// Lists one page of the stored parts, up to 1000, by number.
    Task<B2PartsPage> listParts(std::string fileID, std::optional<int> startPartNumber = {});
    /// Lists all stored parts, up to 10,000. Stops at a page that does not lead on to a later part; a part that is
    /// missing from the result may be stored all the same.
    Task<std::vector<B2Part>> allParts(std::string fileID);
    /// Lists one page of the large files of a bucket that were started and neither finished nor cancelled.
    Task<B2UnfinishedLargeFilesPage> listUnfinishedLargeFiles(B2ListUnfinishedLargeFilesRequest request);
    /// Lists all of them, in the manner of `allFileNames`.
    Stream<B2FileVersion> allUnfinishedLargeFiles(B2ListUnfinishedLargeFilesRequest request);

    /// Downloads into memory, up to 64 MB and without progress.
    Task<B2DownloadedFile> downloadByName(B2DownloadByNameRequest request);
    Task<B2DownloadedFile> downloadByID(B2DownloadByIDRequest request);
    /// Downloads beside the destination, checks the bytes, then replaces the destination in one step. After a
    /// failure the old file is still there and nothing else is left.
    Task<B2FileMetadata> downloadByNameToFile(B2DownloadByNameRequest request, B2FileDestination destination);
    Task<B2FileMetadata> downloadByIDToFile(B2DownloadByIDRequest request, B2FileDestination destination);
    /// Returns the address of a file, with the token as a query item if there is one.
    Task<std::string> downloadURL(std::string bucketName, std::string fileName, std::optional<std::string> token);

private:
    B2Client(std::shared_ptr<SerialExecutor> executor, B2ClientOptions options);

    // --- Authorization and the pipeline

    using Record = std::shared_ptr<const B2Authorization>;

    Task<Record> currentAuthorization();
    static Task<Record> authorizeAndStore(std::shared_ptr<B2Client> client);
    /// Drops the cached record unless it already has another token: of many calls that meet an expired one, the first
    /// causes the renewal.
    void forget(const B2Authorization& expired);
    /// Carries out a request; see B2Pipeline.h.
    template <class Reply>
    Task<Reply> perform(B2Call<Reply> call);
    void logRetry(std::string_view operation, const B2CallProgress& progress, const B2APIError& refusal,
        const B2StatusStep& step) const;
    void logFailure(std::string_view operation, const B2CallProgress& progress, const std::exception_ptr& failure,
        const B2FailureStep& step) const;
    Task<B2DataReply> postJSON(B2JSONCall call);
    /// Returns the answer to a JSON call as its record; see B2JSONCall.h.
    template <class Answer>
    Task<Answer> callJSON(B2JSONCall call);

    // --- Transfers

    using UploadPool = UploadURLPool<B2UploadTarget>;

    std::shared_ptr<UploadPool> uploadPool(const std::string& bucketID);
    static Task<B2UploadTarget> fetchUploadTarget(std::weak_ptr<B2Client> holder, std::string bucketID);
    Task<B2UploadTarget> uploadTarget(std::string bucketID);

    struct Download;

    Task<B2DownloadedFile> downloadToMemory(Download download);
    Task<B2FileMetadata> downloadToFile(Download download, B2FileDestination destination);

    const std::shared_ptr<SerialExecutor> executor_;
    const B2Credentials credentials_;
    const std::string accountEndpoint_;
    const std::unique_ptr<const B2ClientTools> tools_;
    Record authorization_; ///< Null until the first call.
    SingleFlight<Record> authorizationFlight_;
    std::map<std::string, std::shared_ptr<UploadPool>> uploadPools_; ///< By bucket id.
};
