#include "B2Kit/files/B2TemporaryName.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr std::size_t digitCount = 16;

bool isAbandoned(int descriptor)
{
    struct stat info = {};
    return fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode) && info.st_uid == geteuid()
        && flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

} // namespace

std::string makeTemporaryName()
{
    std::uint64_t random = 0;
    if (getrandom(&random, sizeof random, 0) != static_cast<ssize_t>(sizeof random))
        throw std::system_error(errno, std::generic_category(), "getrandom");
    return fmt::format("{}{:016x}{}", temporaryNamePrefix, random, temporaryNameSuffix);
}

bool isTemporaryName(std::string_view fileName)
{
    if (fileName.size() != temporaryNamePrefix.size() + digitCount + temporaryNameSuffix.size()
        || !fileName.starts_with(temporaryNamePrefix) || !fileName.ends_with(temporaryNameSuffix))
        return false;
    const auto isDigit = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); };
    return std::ranges::all_of(fileName.substr(temporaryNamePrefix.size(), digitCount), isDigit);
}

bool holdTemporaryFile(int descriptor)
{
    // Without locks, a clean-up of abandoned files cannot take one either.
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0)
        return errno != EWOULDBLOCK;
    struct stat info = {};
    return fstat(descriptor, &info) == 0 && info.st_nlink > 0;
}

int removeAbandonedFiles(const B2Folder& folder)
{
    const int copy = fcntl(folder.descriptor(), F_DUPFD_CLOEXEC, 0);
    DIR* const entries = copy < 0 ? nullptr : fdopendir(copy);
    if (!entries) {
        if (copy >= 0)
            close(copy);
        return 0;
    }
    int removed = 0;
    rewinddir(entries);
    while (const dirent* const entry = readdir(entries)) {
        if (!isTemporaryName(entry->d_name))
            continue;
        const int descriptor =
            openat(folder.descriptor(), entry->d_name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (descriptor < 0)
            continue;
        if (isAbandoned(descriptor) && unlinkat(folder.descriptor(), entry->d_name, 0) == 0)
            ++removed;
        close(descriptor);
    }
    closedir(entries);
    return removed;
}

int removeAbandonedFiles(const std::filesystem::path& folder)
{
    const auto opened = B2Folder::open(folder);
    return opened ? removeAbandonedFiles(**opened) : 0;
}
