#pragma once

#include "B2Kit/transport/B2Transport.h"
#include "accounts/B2Session.h"
#include "async/OneShot.h"

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// Stands in for the service behind a real client: lists names kept in memory, with folders and in pages.
///
/// Called from any thread.
class ListingService final : public B2Transport {
public:
    struct Call {
        std::string operation; ///< "b2_list_file_names" or "b2_list_file_versions".
        std::string prefix;
        std::string startName;
        int maxFileCount = 0;
        std::string delimiter;
    };

    /// Adds a version; the last added of a name is its newest.
    void add(const std::string& bucketID, const std::string& name, const std::string& action = "upload");
    /// Answers every listing of the bucket as if the bucket did not exist.
    void dropBucket(const std::string& bucketID);
    /// Refuses the next listing.
    void refuseOnce(int status, const std::string& code, const std::string& message);
    /// Answers every listing with its first page, whatever start is asked for.
    void forgetStarts();

    /// Holds the next listing back until the gate is set.
    OneShot<void> holdNext();

    /// The listings asked for so far.
    std::vector<Call> calls() const;

    Task<B2DataReply> data(B2HTTPRequest request) override;
    Task<B2DownloadReply> download(B2HTTPRequest, B2Place, B2Progress) override;
    Task<B2DataReply> upload(B2HTTPRequest, B2UploadBody, B2Progress) override;

private:
    struct Version {
        std::string id;
        std::string action;
    };
    struct Refusal {
        int status = 0;
        std::string body;
    };

    B2DataReply list(const std::string& operation, const std::string& body);

    mutable std::mutex mutex_;
    std::map<std::string, std::map<std::string, std::deque<Version>>> buckets_; ///< Newest version first.
    std::optional<Refusal> refusal_;
    std::optional<OneShot<void>> gate_;
    std::vector<Call> calls_;
    int nextID_ = 0;
    bool forgetsStarts_ = false;
};

/// A session of a key with every right to files, whose client asks `service`.
std::shared_ptr<B2Session> makeSession(
    std::shared_ptr<ListingService> service, std::optional<std::string> namePrefix = {});
