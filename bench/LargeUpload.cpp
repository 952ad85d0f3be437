// bench_large_upload BUCKET FILE PART-SIZE: uploads a file in parts, with the digest of the whole.
// Prints by how many kilobytes the process grew beyond its idle size.

#include "B2Kit/uploads/B2LargeUpload.h"
#include "bench/BenchClient.h"

#include <cstdio>
#include <cstdlib>

namespace {

Task<> upload(std::string bucketName, std::filesystem::path path, std::int64_t partSize)
{
    const auto client = makeBenchClient();
    const auto buckets = co_await client->listBuckets(bucketName);
    const auto idle = processMemory();
    B2UploadLargeFileRequest request;
    request.bucketID = buckets.at(0).bucketID;
    request.fileName = path.filename().string();
    request.source = std::move(path);
    request.partSize = partSize;
    co_await uploadLargeFile(client, std::move(request));
    std::printf("%ld\n", processMemory().peakKilobytes - idle.residentKilobytes);
}

} // namespace

int main(int count, char** words)
{
    if (count != 4)
        return 2;
    return runToEnd(upload(words[1], words[2], std::atoll(words[3])));
}
