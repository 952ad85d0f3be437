// Measures how long it takes to decode one page of a listing.

#include "B2Kit/B2File.h"
#include "B2Kit/wire/B2Decoding.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

std::string pageOf(int count)
{
    std::string page = R"({"files":[)";
    for (int i = 0; i < count; ++i) {
        const auto number = std::to_string(1'000'000 + i);
        page += i > 0 ? "," : "";
        page += R"({"accountId":"8d625eb63be2","action":"upload","bucketId":"4a48fe8875c6214145260818",)"
                R"("contentLength":25000,"contentMd5":"9e107d9d372bb6826bd81d3542a419d6",)"
                R"("contentSha1":"2fd4e1c67a2d28fced849ee1bb76e7391b93eb12","contentType":"application/octet-stream",)"
                R"("fileId":"4_z4a48fe8875c6214145260818_f1)"
            + number + R"(_d20260305_m120000_c004_v0001112_t0000_u01772712000000","fileInfo":)"
            + R"({"src_last_modified_millis":"1772712000000"},"fileName":"archive/2019/03/05/item-)" + number
            + R"(.dat","fileRetention":{"isClientAuthorizedToRead":true,"value":{"mode":null,)"
            + R"("retainUntilTimestamp":null}},"legalHold":{"isClientAuthorizedToRead":true,"value":null},)"
            + R"("replicationStatus":null,"serverSideEncryption":{"algorithm":"AES256","mode":"SSE-B2"},)"
            + R"("uploadTimestamp":1772712000000})";
    }
    return page + R"(],"nextFileId":null,"nextFileName":null})";
}

void decodePage(benchmark::State& state)
{
    const auto page = pageOf(static_cast<int>(state.range(0)));
    for (auto unused : state)
        benchmark::DoNotOptimize(decodeRecord<B2FileListPage>(page));
    state.SetBytesProcessed(static_cast<std::int64_t>(page.size()) * state.iterations());
}
BENCHMARK(decodePage)->Arg(1000)->Unit(benchmark::kMillisecond);

} // namespace
