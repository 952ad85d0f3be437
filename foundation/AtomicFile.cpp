#include "foundation/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::error_code lastError()
{
    return {errno, std::generic_category()};
}

std::error_code writeThrough(int descriptor, std::string_view content)
{
    while (!content.empty()) {
        const auto written = ::write(descriptor, content.data(), content.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return lastError();
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    return ::fsync(descriptor) == 0 ? std::error_code() : lastError();
}

/// Without it, the new name may not survive a loss of power. Some file systems cannot do it; the file is replaced
/// anyway.
void writeThroughFolder(const std::filesystem::path& folder)
{
    const int descriptor = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    ::fsync(descriptor);
    ::close(descriptor);
}

} // namespace

std::error_code replaceFile(const std::filesystem::path& file, std::string_view content)
{
    std::error_code unresolved;
    auto target = std::filesystem::weakly_canonical(file, unresolved);
    if (unresolved)
        target = file;
    // The name is always the same, so that the next write removes a file left behind by a killed process.
    const auto temporary = target.parent_path() / ("." + target.filename().string() + ".new");
    ::unlink(temporary.c_str());
    const int descriptor = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor < 0)
        return lastError();
    auto error = writeThrough(descriptor, content);
    if (::close(descriptor) != 0 && !error)
        error = lastError();
    if (!error && ::rename(temporary.c_str(), target.c_str()) != 0)
        error = lastError();
    if (error)
        ::unlink(temporary.c_str());
    else
        writeThroughFolder(target.parent_path());
    return error;
}
