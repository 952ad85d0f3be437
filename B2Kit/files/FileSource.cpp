#include "B2Kit/files/FileSource.h"

#include "B2Kit/B2Error.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

FileSource::FileSource(B2FileRange range)
    : range_(std::move(range))
    // Without O_NONBLOCK, opening a pipe would wait for its writer.
    , descriptor_(open(range_.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))
{
    if (descriptor_ < 0)
        throw B2FileError(B2FileError::Operation::read, range_.path, errno);
    struct stat info = {};
    if (fstat(descriptor_, &info) != 0 || !S_ISREG(info.st_mode)) {
        close(descriptor_);
        if (S_ISDIR(info.st_mode))
            throw B2FileError(B2FileError::Operation::read, range_.path, EISDIR);
        throw B2FileError(B2FileError::Operation::read, range_.path, 0,
            fmt::format("Couldn't read \"{}\": it is no regular file.", range_.path.filename().string()));
    }
    posix_fadvise(descriptor_, range_.offset, range_.length, POSIX_FADV_SEQUENTIAL);
}

FileSource::~FileSource()
{
    close(descriptor_);
}

std::size_t FileSource::read(char* buffer, std::size_t size)
{
    const auto wanted = std::min(static_cast<std::int64_t>(size), range_.length - position_);
    if (wanted == 0)
        return 0;
    ssize_t count = 0;
    do
        count = pread(descriptor_, buffer, static_cast<std::size_t>(wanted), range_.offset + position_);
    while (count < 0 && errno == EINTR);
    if (count < 0)
        throw B2FileError(B2FileError::Operation::read, range_.path, errno);
    if (count == 0)
        throw B2Error(B2Error::InvalidResponse{
            fmt::format("Short read at offset {} of {}", range_.offset, range_.path.filename().string())});
    position_ += count;
    return static_cast<std::size_t>(count);
}

void FileSource::readAhead(std::size_t size)
{
    const auto wanted = std::min(static_cast<std::int64_t>(size), range_.length - position_);
    if (wanted > 0)
        posix_fadvise(descriptor_, range_.offset + position_, wanted, POSIX_FADV_WILLNEED);
}
