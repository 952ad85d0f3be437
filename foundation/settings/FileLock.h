#pragma once

#include <chrono>
#include <expected>
#include <filesystem>
#include <system_error>

/// Exclusive use of a file among programs and threads, through a lock on a file of its own that stays on the disk.
///
/// The lock ends with the object, and with the process however that ends. Used from any thread.
class FileLock {
public:
    /// Takes the lock; blocks for as long as another holds it, at most `limit`.
    ///
    /// @param file  the lock's own file, created for its owner alone (0600) where it is missing.
    /// @returns `std::errc::timed_out` when it was held all the time; another error when the file cannot be opened,
    ///          or its file system has no locks.
    static std::expected<FileLock, std::error_code> take(
        const std::filesystem::path& file, std::chrono::milliseconds limit);

    FileLock(FileLock&& other) noexcept;
    FileLock& operator=(FileLock&&) = delete;
    ~FileLock();

private:
    explicit FileLock(int descriptor)
        : descriptor_(descriptor)
    {
    }

    int descriptor_;
};
