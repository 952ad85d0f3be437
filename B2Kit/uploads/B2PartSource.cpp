#include "B2Kit/uploads/B2PartSource.h"

#include "B2Kit/B2Error.h"
#include "B2Kit/calls/B2JSONCall.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fmt/format.h>

namespace {

using Memory = std::shared_ptr<const std::string>;

// Free coroutines take pointers, so that no first parameter makes them the member of an actor.

Task<B2HashedBody> openFile(
    B2FileRange range, const std::vector<B2PartStretch>* plan, const B2UploadLargeFileRequest* request)
{
    B2FileWorker worker;
    if (!request->recordsWholeFileChecksum)
        co_return co_await worker.stamp(std::move(range));
    B2HashWatch watch{.onRead = request->onHashing};
    // The digest of a changed source decides whether it is still the file that was started; no part can.
    if (!request->startedSHA1)
        watch.isSkipped = request->isChecksumSkipped;
    co_return co_await worker.hashInParts(std::move(range), *plan, std::move(watch));
}

Task<B2HashedBody> openMemory(Memory memory, bool isHashed)
{
    B2HashedBody whole{.body = memory, .length = static_cast<std::int64_t>(memory->size())};
    if (isHashed)
        whole.sha1 = co_await sha1Aside(*memory);
    co_return whole;
}

} // namespace

Task<std::int64_t> B2PartSource::sizeOf(const B2UploadLargeFileRequest* request)
{
    if (const auto* const memory = std::get_if<Memory>(&request->source))
        co_return static_cast<std::int64_t>((*memory)->size());
    B2FileWorker worker;
    co_return co_await worker.sizeOf(std::get<std::filesystem::path>(request->source));
}

Task<> B2PartSource::open(const B2UploadLargeFileRequest* request, std::vector<B2PartStretch> plan)
{
    plan_ = std::move(plan);
    if (const auto* const path = std::get_if<std::filesystem::path>(&request->source)) {
        B2FileRange range{*path, 0, plan_.back().end};
        whole_ = co_await openFile(std::move(range), &plan_, request);
    } else {
        whole_ = co_await openMemory(std::get<Memory>(request->source), request->hashesMemory);
    }
    requireExpected(request->expectedSource);
}

void B2PartSource::requireExpected(const std::optional<B2SourceState>& expected) const
{
    const auto* const file = whole_.file();
    if (!expected || !file || !whole_.stamp)
        return;
    const auto sinceEpoch = std::chrono::nanoseconds(expected->modificationDate.time_since_epoch());
    if (*whole_.stamp
        != B2FileStamp{.size = expected->size, .modifiedNanoseconds = sinceEpoch.count(), .inode = expected->inode})
        throw changedFileError(file->path);
}

Task<B2HashedBody> B2PartSource::part(int number) const
{
    const auto& cut = stretch(number);
    B2HashedBody part{.length = cut.length()};
    if (const auto* const file = whole_.file()) {
        B2FileRange range{file->path, cut.start, cut.length()};
        part.body = range;
        const auto index = static_cast<std::size_t>(number) - 1;
        if (index < whole_.partSHA1s.size()) {
            part.sha1 = whole_.partSHA1s[index];
            co_return part;
        }
        B2FileWorker worker;
        part.sha1 = co_await worker.sha1OfFile(std::move(range));
    } else {
        const auto& memory = std::get<Memory>(whole_.body);
        auto bytes = std::make_shared<const std::string>(
            *memory, static_cast<std::size_t>(cut.start), static_cast<std::size_t>(cut.length()));
        part.sha1 = co_await sha1Aside(*bytes);
        part.body = std::move(bytes);
    }
    co_return part;
}

Task<> B2PartSource::requireUnchanged(int partNumber) const
{
    const auto* const file = whole_.file();
    B2FileWorker worker;
    if (!file || !co_await worker.hasChanged(whole_))
        co_return;
    const auto size = co_await worker.sizeOf(file->path);
    const auto cut = std::ranges::find_if(plan_, [size](const B2PartStretch& part) { return part.end > size; });
    if (cut == plan_.end())
        throw B2Error(B2Error::SourceChangedSinceUpload{partNumber});
    throw B2Error(B2Error::InvalidResponse{
        fmt::format("Short read at offset {} of {}", cut->start, file->path.filename().string())});
}

Task<bool> B2PartSource::wasRefusedForItsBytes(const B2HashedBody* part, std::exception_ptr failure) const
{
    const auto* const file = part->file();
    if (!file || !isRefusal(failure, "bad_request"))
        co_return false;
    B2FileWorker worker;
    co_return co_await worker.sha1OfFile(*file) != part->sha1;
}
