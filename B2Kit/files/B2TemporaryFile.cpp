#include "B2Kit/transport/B2Transport.h"

#include "B2Kit/B2Error.h"
#include "B2Kit/files/FileFaults.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

timespec toTimespec(std::chrono::system_clock::time_point date)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
    const auto rest = std::chrono::duration_cast<std::chrono::nanoseconds>(date - seconds);
    return {static_cast<time_t>(seconds.time_since_epoch().count()), static_cast<long>(rest.count())};
}

/// The process's umask. The system call that reads it changes it for a moment, for every thread.
mode_t readUmask()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        unsigned mask = 0;
        if (std::sscanf(line.c_str(), "Umask: %o", &mask) == 1)
            return mask & 0777U;
    }
    // If unknown, only the owner gets access.
    return 0077;
}

/// The mode for a file at the destination: that of the file it replaces, else that of any new file of the user.
mode_t modeFor(const B2Place& destination)
{
    struct stat replaced = {};
    if (fstatat(destination.base(), destination.relative().c_str(), &replaced, AT_SYMLINK_NOFOLLOW) == 0
        && S_ISREG(replaced.st_mode))
        return replaced.st_mode & 0777U;
    static const mode_t umask = readUmask();
    return 0666U & ~umask;
}

void renameOnto(const B2Place& from, const B2Place& to)
{
    if (renameat(from.base(), from.relative().c_str(), to.base(), to.relative().c_str()) != 0)
        throw writeFault(to.path, errno, -1);
}

/// @returns false when something is there already; nothing has happened then.
bool renameWhereFree(const B2Place& from, const B2Place& to)
{
    const auto source = from.relative();
    const auto target = to.relative();
    if (renameat2(from.base(), source.c_str(), to.base(), target.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno == EEXIST)
        return false;
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
        throw writeFault(to.path, errno, -1);
    // This file system cannot do it in one step, but a hard link never replaces anything either.
    if (linkat(from.base(), source.c_str(), to.base(), target.c_str(), 0) == 0) {
        unlinkat(from.base(), source.c_str(), 0);
        return true;
    }
    if (errno == EEXIST)
        return false;
    struct stat info = {};
    if (fstatat(to.base(), target.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0)
        return false;
    renameOnto(from, to);
    return true;
}

/// Where the file went.
B2Place renameTo(const B2Place& from, const B2Place& destination, const B2TemporaryFile::OtherPath& otherPath)
{
    auto place = destination;
    while (otherPath && !renameWhereFree(from, place)) {
        auto other = otherPath();
        if (!other) {
            renameOnto(from, destination);
            return destination;
        }
        place.path = std::move(*other);
    }
    if (!otherPath)
        renameOnto(from, place);
    return place;
}

/// Writes the new name through to the disk. The file is complete and in place; if only this fails, nothing is lost.
void syncFolderOf(const B2Place& place)
{
    const int folder = openat(place.base(), place.relativeFolder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    fsync(folder);
    close(folder);
}

} // namespace

B2TemporaryFile::B2TemporaryFile(B2Place place, int descriptor)
    : place_(std::move(place))
    , descriptor_(descriptor)
{
}

B2TemporaryFile::B2TemporaryFile(B2TemporaryFile&& other) noexcept
    : place_(std::exchange(other.place_, {}))
    , descriptor_(std::exchange(other.descriptor_, -1))
{
}

B2TemporaryFile& B2TemporaryFile::operator=(B2TemporaryFile&& other) noexcept
{
    // The file that was here is removed with the temporary one.
    B2TemporaryFile moved(std::move(other));
    std::swap(place_, moved.place_);
    std::swap(descriptor_, moved.descriptor_);
    return *this;
}

B2TemporaryFile::~B2TemporaryFile()
{
    if (!place_.path.empty())
        unlinkat(place_.base(), place_.relative().c_str(), 0);
    close();
}

void B2TemporaryFile::close()
{
    if (descriptor_ >= 0)
        ::close(std::exchange(descriptor_, -1));
}

void B2TemporaryFile::placeAt(const B2Place& destination,
    std::optional<std::chrono::system_clock::time_point> modificationDate, const OtherPath& otherPath)
{
    if (descriptor_ < 0)
        descriptor_ = openat(place_.base(), place_.relative().c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor_ < 0)
        throw writeFault(destination.path, errno, -1);
    if (modificationDate) {
        // A file system that cannot store the date (before 1970, or far off) keeps the file with today's.
        const std::array times{timespec{0, UTIME_OMIT}, toTimespec(*modificationDate)};
        futimens(descriptor_, times.data());
    }
    // A file system without modes keeps the file as it is.
    fchmod(descriptor_, modeFor(destination));
    if (fsync(descriptor_) != 0) {
        const int systemError = errno;
        struct stat info = {};
        fstat(descriptor_, &info);
        throw writeFault(destination.path, systemError, info.st_size);
    }
    const auto place = renameTo(place_, destination, otherPath);
    // Held until it has its name, so that no clean-up takes it for abandoned.
    close();
    place_ = {};
    syncFolderOf(place);
}
