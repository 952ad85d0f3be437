#include "B2Kit/files/B2FileWorker.h"

#include "B2Kit/files/B2SHA1.h"
#include "B2Kit/files/FileDigests.h"
#include "B2Kit/files/FileSource.h"
#include "B2Kit/wire/B2Text.h"

#include <cerrno>
#include <fmt/format.h>
#include <new>
#include <sys/stat.h>

namespace {

constexpr std::int64_t chunkBytes = 4'000'000;
/// A file up to this size is read once and sent from memory.
constexpr std::int64_t largestFileInMemory = 1'000'000;

/// Apart from the threads of the other actors, which never wait for a disk.
WorkerPool& filePool()
{
    // Leaked on purpose: tasks may still end while static objects are destroyed.
    static auto* const pool = new WorkerPool(4);
    return *pool;
}

B2FileStamp stampOf(const std::filesystem::path& path)
{
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0)
        throw B2FileError(B2FileError::Operation::read, path, errno);
    return {.size = info.st_size,
        .modifiedNanoseconds = info.st_mtim.tv_sec * 1'000'000'000 + info.st_mtim.tv_nsec,
        .inode = info.st_ino};
}

/// One piece of a file. Aligned to pages, which is how a copy out of the system's cache is fastest.
class ChunkBuffer {
public:
    char* data() const { return bytes_.get(); }

private:
    static constexpr std::align_val_t alignment{4096};
    struct Free {
        void operator()(char* bytes) const { ::operator delete(bytes, alignment); }
    };

    std::unique_ptr<char, Free> bytes_{static_cast<char*>(::operator new(chunkBytes, alignment))};
};

/// Reads the bytes of the range.
std::string readAll(const B2FileRange& range)
{
    FileSource source(range);
    std::string bytes(static_cast<std::size_t>(range.length), '\0');
    std::size_t done = 0;
    while (done < bytes.size())
        done += source.read(bytes.data() + done, bytes.size() - done);
    return bytes;
}

} // namespace

B2FileWorker::B2FileWorker()
    : B2FileWorker(std::make_shared<SerialExecutor>(filePool()))
{
}

B2FileWorker::B2FileWorker(std::shared_ptr<SerialExecutor> executor)
    : Actor(*executor)
    , executor_(std::move(executor))
{
}

Task<B2HashedBody> B2FileWorker::hash(B2FileRange range)
{
    const auto stamp = stampOf(range.path);
    B2HashedBody hashed{.body = range, .length = range.length};
    try {
        if (range.length <= largestFileInMemory) {
            auto bytes = std::make_shared<const std::string>(readAll(range));
            hashed.sha1 = sha1Of(*bytes);
            hashed.body = std::move(bytes);
        } else {
            hashed.sha1 = co_await sha1OfFile(range);
            hashed.stamp = stamp;
        }
    } catch (const B2Error&) {
        // The file is shorter than the range.
        throw changedFileError(range.path);
    }
    if (stamp.size != range.offset + range.length || stampOf(range.path) != stamp)
        throw changedFileError(range.path);
    co_return hashed;
}

Task<B2HashedBody> B2FileWorker::hashInParts(B2FileRange range, std::vector<B2PartStretch> parts, B2HashWatch watch)
{
    auto hashed = co_await stamp(range);
    try {
        co_await readInParts(hashed, std::move(parts), std::move(watch));
    } catch (const B2Error&) {
        // The file is shorter than the range.
        throw changedFileError(range.path);
    }
    if (stampOf(range.path) != hashed.stamp)
        throw changedFileError(range.path);
    co_return hashed;
}

Task<> B2FileWorker::readInParts(B2HashedBody& body, std::vector<B2PartStretch> parts, B2HashWatch watch)
{
    FileSource source(*body.file());
    FileDigests digests(std::move(parts), filePool());
    const ChunkBuffer buffer;
    std::int64_t done = 0;
    while (const auto count = source.read(buffer.data(), chunkBytes)) {
        co_await checkCancelled();
        if (watch.isSkipped && watch.isSkipped())
            co_return;
        source.readAhead(chunkBytes);
        co_await FileDigests::update(digests, {buffer.data(), count});
        done += static_cast<std::int64_t>(count);
        if (watch.onRead)
            watch.onRead(done);
    }
    auto finished = digests.finish();
    body.sha1 = std::move(finished.whole);
    body.partSHA1s = std::move(finished.parts);
}

Task<B2HashedBody> B2FileWorker::stamp(B2FileRange range)
{
    // Finds an unreadable file before anything is asked of the service.
    const FileSource source(range);
    const auto stamp = stampOf(range.path);
    if (stamp.size != range.offset + range.length)
        throw changedFileError(range.path);
    co_return B2HashedBody{.body = range, .length = range.length, .stamp = stamp};
}

Task<std::string> B2FileWorker::sha1(const std::string& bytes)
{
    B2SHA1 digest;
    for (std::string_view rest = bytes; !rest.empty();
        rest.remove_prefix(std::min<std::size_t>(chunkBytes, rest.size()))) {
        co_await checkCancelled();
        digest.update(rest.substr(0, chunkBytes));
    }
    co_return digest.finish();
}

Task<std::string> B2FileWorker::sha1OfFile(B2FileRange range)
{
    FileSource source(std::move(range));
    B2SHA1 digest;
    const ChunkBuffer buffer;
    while (const auto count = source.read(buffer.data(), chunkBytes)) {
        co_await checkCancelled();
        source.readAhead(chunkBytes);
        digest.update({buffer.data(), count});
    }
    co_return digest.finish();
}

Task<std::int64_t> B2FileWorker::sizeOf(std::filesystem::path path)
{
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode))
        throw B2Error(B2Error::InvalidResponse{
            fmt::format("Could not determine the size of {}", oneLine(path.filename().string()))});
    co_return info.st_size;
}

Task<bool> B2FileWorker::hasChanged(const B2HashedBody& body)
{
    if (!body.file() || !body.stamp)
        co_return false;
    try {
        co_return stampOf(body.file()->path) != *body.stamp;
    } catch (const B2FileError&) {
        // A file that has vanished gets its own sentence.
        co_return false;
    }
}

Task<> B2FileWorker::place(B2TemporaryFile file, B2FileDestination destination)
{
    file.placeAt({destination.path, destination.folder}, destination.modificationDate, destination.otherPath);
    co_return;
}

Task<std::string> sha1Aside(const std::string& bytes)
{
    // A quarter of a millisecond of work, not much more than a change of threads.
    constexpr std::size_t largestAtOnce = 262'144;
    if (bytes.size() <= largestAtOnce)
        co_return sha1Of(bytes);
    B2FileWorker worker;
    co_return co_await worker.sha1(bytes);
}

B2FileError changedFileError(const std::filesystem::path& path)
{
    return {B2FileError::Operation::read, path, 0,
        fmt::format("“{}” changed while it was being read, so it was not uploaded.", path.filename().string())};
}
