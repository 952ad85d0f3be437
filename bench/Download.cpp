// bench_download BUCKET NAME FILE: downloads a file and checks it.
// Prints by how many kilobytes the process grew beyond its idle size.

#include "bench/BenchClient.h"

#include <cstdio>
#include <stdexcept>

namespace {

Task<> download(std::string bucketName, std::string fileName, std::filesystem::path path)
{
    const auto client = makeBenchClient();
    co_await client->authorized();
    const auto idle = processMemory();
    B2DownloadByNameRequest request{.bucketName = std::move(bucketName), .fileName = std::move(fileName)};
    const auto metadata = co_await client->downloadByNameToFile(std::move(request), {.path = std::move(path)});
    if (!metadata.checksum.isVerified())
        throw std::runtime_error("The download was not checked.");
    std::printf("%ld\n", processMemory().peakKilobytes - idle.residentKilobytes);
}

} // namespace

int main(int count, char** words)
{
    if (count != 4)
        return 2;
    return runToEnd(download(words[1], words[2], words[3]));
}
