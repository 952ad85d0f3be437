#include "foundation/settings/FileLock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>
#include <utility>

std::expected<FileLock, std::error_code> FileLock::take(
    const std::filesystem::path& file, std::chrono::milliseconds limit)
{
    constexpr std::chrono::milliseconds pause(5);
    const int descriptor =
        ::open(file.c_str(), O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, 0600);
    if (descriptor < 0)
        return std::unexpected(std::error_code(errno, std::generic_category()));
    FileLock lock(descriptor);
    const auto end = std::chrono::steady_clock::now() + limit;
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return std::unexpected(std::error_code(errno, std::generic_category()));
        if (std::chrono::steady_clock::now() >= end)
            return std::unexpected(std::make_error_code(std::errc::timed_out));
        std::this_thread::sleep_for(pause);
    }
    return lock;
}

FileLock::FileLock(FileLock&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1))
{
}

FileLock::~FileLock()
{
    if (descriptor_ >= 0)
        ::close(descriptor_);
}
