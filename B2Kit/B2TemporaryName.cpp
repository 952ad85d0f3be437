#include "B2Kit/B2TemporaryName.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <ctime>
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
    constexpr time_t patienceSeconds = 600;
    struct stat info = {};
    return fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode) && info.st_uid == geteuid()
        && time(nullptr) - info.st_mtim.tv_sec > patienceSeconds && flock(descriptor, LOCK_EX | LOCK_NB) == 0;
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

void holdTemporaryFile(int descriptor)
{
    // Where there are no locks, none can be taken by those who look for abandoned files either.
    static_cast<void>(flock(descriptor, LOCK_EX | LOCK_NB));
}

int removeAbandonedFiles(const std::filesystem::path& folder)
{
    int removed = 0;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
        entry.increment(error)) {
        const auto& path = entry->path();
        if (!isTemporaryName(path.filename().native()))
            continue;
        const int descriptor = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (descriptor < 0)
            continue;
        if (isAbandoned(descriptor) && unlink(path.c_str()) == 0)
            ++removed;
        close(descriptor);
    }
    return removed;
}
