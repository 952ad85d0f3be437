// bench_walk BUCKET COUNT: pulls that many versions of a bucket, one by one.
// Prints the number of versions and the sum of their lengths.

#include "bench/BenchClient.h"

#include <cstdio>
#include <cstdlib>

namespace {

Task<> walk(std::string bucketName, long count)
{
    const auto client = makeBenchClient();
    const auto buckets = co_await client->listBuckets(bucketName);
    auto versions = client->allFileVersions({.bucketID = buckets.at(0).bucketID});
    long walked = 0;
    std::int64_t bytes = 0;
    while (walked < count) {
        const auto version = co_await versions.next();
        if (!version)
            break;
        ++walked;
        bytes += version->contentLength;
    }
    std::printf("%ld %lld\n", walked, static_cast<long long>(bytes));
}

} // namespace

int main(int count, char** words)
{
    if (count != 3)
        return 2;
    return runToEnd(walk(words[1], std::atol(words[2])));
}
