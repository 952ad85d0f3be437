#pragma once

#include "localb2/Access.h"
#include "localb2/Fields.h"

#include <string>

namespace localb2 {

/// One JSON call, with the core's lock held.
struct Call {
    Core& core;
    const Request& request;
    int apiVersion = 4;
    Caller caller;
    Fields fields;

    /// Refuses the id of another account.
    void needOwnAccount() const;
};

// Each returns the JSON of its result.

std::string createBucket(Call& call);
std::string updateBucket(Call& call);
std::string deleteBucket(Call& call);
std::string listBuckets(Call& call);

std::string listFileNames(Call& call);
std::string listFileVersions(Call& call);

std::string getFileInfo(Call& call);
std::string hideFile(Call& call);
std::string deleteFileVersion(Call& call);
std::string getDownloadAuthorization(Call& call);

std::string updateFileLegalHold(Call& call);
std::string updateFileRetention(Call& call);

std::string createKey(Call& call);
std::string listKeys(Call& call);
std::string deleteKey(Call& call);

std::string getUploadURL(Call& call);
std::string startLargeFile(Call& call);
std::string getUploadPartURL(Call& call);
std::string finishLargeFile(Call& call);
std::string cancelLargeFile(Call& call);
std::string listParts(Call& call);
std::string listUnfinishedLargeFiles(Call& call);

// The others take and release the lock themselves, because they move bodies.

Answer authorizeAccount(Core& core, const Request& request, int apiVersion);
Answer uploadFile(Core& core, const Request& request, std::string_view bucketID, int apiVersion);
Answer uploadPart(Core& core, const Request& request, std::string_view fileID);
Answer copyFile(Core& core, const Request& request, int apiVersion);
Answer copyPart(Core& core, const Request& request);
Answer downloadByName(Core& core, const Request& request, std::string_view bucketName, std::string_view fileName);
Answer downloadByID(Core& core, const Request& request);

// Shared by parts and copies of parts.

/// Returns the large file being uploaded. @throws Failure `bad_request` when there is none with the id.
Located activeUpload(Core& core, const Caller& caller, std::string_view fileID);
/// Replaces an earlier part with the same number; part of a `Change`.
void storePart(Core& core, const Part& part);
int partNumberOf(std::optional<std::int64_t> number);

} // namespace localb2
