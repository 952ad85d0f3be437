// bench_upload BUCKET DIRECTORY: uploads the files of a directory to the top of a bucket, one after another.
// Prints how many there were.

#include "bench/BenchClient.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace {

Task<> upload(std::string bucketName, std::filesystem::path directory)
{
    const auto client = makeBenchClient();
    const auto buckets = co_await client->listBuckets(bucketName);
    std::vector<std::filesystem::directory_entry> files;
    for (const auto& file : std::filesystem::directory_iterator(directory))
        files.push_back(file);
    std::ranges::sort(files);
    for (const auto& file : files) {
        B2UploadFileRequest request;
        request.bucketID = buckets.at(0).bucketID;
        request.fileName = file.path().filename().string();
        request.body = B2FileRange{.path = file.path(), .length = static_cast<std::int64_t>(file.file_size())};
        request.modificationDate = std::chrono::time_point_cast<std::chrono::system_clock::duration>(
            std::chrono::file_clock::to_sys(file.last_write_time()));
        co_await client->uploadFile(std::move(request));
    }
    std::printf("%zu\n", files.size());
}

} // namespace

int main(int count, char** words)
{
    if (count != 3)
        return 2;
    return runToEnd(upload(words[1], words[2]));
}
