#include "B2Kit/transport/DownloadSink.h"

#include "B2Kit/files/B2TemporaryName.h"
#include "B2Kit/files/FileFaults.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Bytes gathered for one write: libcurl delivers at most 16 KB at a time, and this still fits the processor's cache.
constexpr std::size_t writeSize = 131'072;

/// An error's body is a line of JSON or a proxy's page.
constexpr std::size_t errorBodyCap = 1'000'000;

} // namespace

DownloadSink::DownloadSink(B2Place destination)
    : destination_(std::move(destination))
{
}

void DownloadSink::begin(int status, std::optional<std::int64_t> length)
{
    if (status != 200 && status != 206)
        return;
    length_ = length.value_or(-1);
    create();
    if (length_ > 0)
        reserve(length_);
}

void DownloadSink::create()
{
    // The name is random. A file that exists (or was planted) is never opened; another name is tried.
    for (int attempt = 0; attempt < 10; ++attempt) {
        const auto place = destination_.beside(makeTemporaryName());
        constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        const int descriptor = openat(place.base(), place.relative().c_str(), flags, 0600);
        if (descriptor < 0 && errno != EEXIST)
            break;
        if (descriptor < 0)
            continue;
        B2TemporaryFile created(place, descriptor);
        if (!holdTemporaryFile(descriptor))
            continue;
        file = std::move(created);
        descriptor_ = descriptor;
        buffer_.reserve(writeSize);
        return;
    }
    throw writeFault(destination_.path, errno, length_);
}

void DownloadSink::reserve(std::int64_t length)
{
    // Reports a full disk at the first byte. If the file system cannot reserve space, a write will report it.
    if (fallocate(descriptor_, FALLOC_FL_KEEP_SIZE, 0, length) == 0)
        return;
    if (errno == ENOSPC || errno == EDQUOT || errno == EFBIG)
        throw writeFault(destination_.path, errno, length_);
}

bool DownloadSink::take(std::string_view bytes)
{
    if (descriptor_ < 0) {
        errorBody += bytes.substr(0, errorBodyCap - errorBody.size());
        return errorBody.size() < errorBodyCap;
    }
    hash_.update(bytes);
    byteCount += static_cast<std::int64_t>(bytes.size());
    if (buffer_.size() + bytes.size() > writeSize)
        flush();
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
    return true;
}

void DownloadSink::flush()
{
    std::string_view rest(buffer_.data(), buffer_.size());
    while (!rest.empty()) {
        const auto written = write(descriptor_, rest.data(), rest.size());
        if (written >= 0)
            rest.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            throw writeFault(destination_.path, errno, length_);
    }
    buffer_.clear();
}

void DownloadSink::finish()
{
    if (descriptor_ < 0)
        return;
    flush();
    sha1 = hash_.finish();
}
