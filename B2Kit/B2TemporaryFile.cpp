#include "B2Kit/B2Transport.h"

#include "B2Kit/B2Error.h"
#include "B2Kit/FileFaults.h"

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

class Descriptor {
public:
    explicit Descriptor(int number)
        : number_(number)
    {
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (number_ >= 0)
            close(number_);
    }

    int number() const { return number_; }

private:
    int number_;
};

timespec toTimespec(std::chrono::system_clock::time_point date)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
    const auto rest = std::chrono::duration_cast<std::chrono::nanoseconds>(date - seconds);
    return {static_cast<time_t>(seconds.time_since_epoch().count()), static_cast<long>(rest.count())};
}

/// The process's umask. The system call that tells it changes it for a moment, for every thread.
mode_t readUmask()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        unsigned mask = 0;
        if (std::sscanf(line.c_str(), "Umask: %o", &mask) == 1)
            return mask & 0777U;
    }
    // Unknown: for the owner alone.
    return 0077;
}

/// What a new file at the destination may be: as the file that it replaces, else as any file the user makes.
mode_t modeFor(const std::filesystem::path& destination)
{
    struct stat replaced = {};
    if (lstat(destination.c_str(), &replaced) == 0 && S_ISREG(replaced.st_mode))
        return replaced.st_mode & 0777U;
    static const mode_t umask = readUmask();
    return 0666U & ~umask;
}

} // namespace

B2TemporaryFile::B2TemporaryFile(std::filesystem::path path)
    : path_(std::move(path))
{
}

B2TemporaryFile::B2TemporaryFile(B2TemporaryFile&& other) noexcept
    : path_(std::exchange(other.path_, {}))
{
}

B2TemporaryFile& B2TemporaryFile::operator=(B2TemporaryFile&& other) noexcept
{
    // The file that stood here goes with the temporary.
    B2TemporaryFile moved(std::move(other));
    path_.swap(moved.path_);
    return *this;
}

B2TemporaryFile::~B2TemporaryFile()
{
    if (!path_.empty())
        unlink(path_.c_str());
}

void B2TemporaryFile::placeAt(
    const std::filesystem::path& destination, std::optional<std::chrono::system_clock::time_point> modificationDate)
{
    {
        const Descriptor file(open(path_.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
        if (file.number() < 0)
            throw writeFault(destination, errno, -1);
        if (modificationDate) {
            // A file system that holds no such date (before 1970, or far off) keeps the file with today's.
            const std::array times{timespec{0, UTIME_OMIT}, toTimespec(*modificationDate)};
            futimens(file.number(), times.data());
        }
        // A file system without modes keeps the file as it is.
        fchmod(file.number(), modeFor(destination));
        if (fsync(file.number()) != 0) {
            const int systemError = errno;
            struct stat info = {};
            fstat(file.number(), &info);
            throw writeFault(destination, systemError, info.st_size);
        }
    }
    if (rename(path_.c_str(), destination.c_str()) != 0)
        throw writeFault(destination, errno, -1);
    path_.clear();
    // The new name reaches the disk too. The file is whole and in its place; if only this fails, nothing is lost.
    const Descriptor folder(open(destination.parent_path().empty() ? "." : destination.parent_path().c_str(),
        O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.number() >= 0)
        fsync(folder.number());
}
