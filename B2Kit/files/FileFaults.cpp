#include "B2Kit/files/FileFaults.h"

#include "B2Kit/pipeline/B2ByteCount.h"

#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <system_error>
#include <unistd.h>

namespace {

std::filesystem::path folderOf(const std::filesystem::path& destination)
{
    return destination.has_parent_path() ? destination.parent_path() : std::filesystem::path(".");
}

std::string shortageIn(const std::filesystem::path& folder, const std::string& name, std::int64_t neededBytes)
{
    std::string sentence = "The disk is full: ";
    sentence += neededBytes < 0 ? fmt::format("\"{}\" does not fit", name)
                                : fmt::format("\"{}\" needs {}", name, formatByteCount(neededBytes));
    struct statvfs disk = {};
    if (statvfs(folder.c_str(), &disk) == 0) {
        const auto free = static_cast<std::int64_t>(disk.f_bavail * disk.f_frsize);
        sentence += fmt::format(", {} are free in \"{}\"", formatByteCount(free), folder.string());
    }
    return sentence + ".";
}

std::string whyNotWritten(
    const std::filesystem::path& folder, const std::string& name, int systemError, std::int64_t neededBytes)
{
    switch (systemError) {
    case ENOSPC:
        return shortageIn(folder, name, neededBytes);
    case EDQUOT:
        return fmt::format("Couldn't write \"{}\": your disk quota in \"{}\" is used up.", name, folder.string());
    case EFBIG:
        return fmt::format("Couldn't write \"{}\": files in \"{}\" may not become that large.", name, folder.string());
    case ENOENT:
    case ENOTDIR:
        if (std::error_code ignored; std::filesystem::is_directory(folder, ignored))
            return fmt::format("Couldn't write \"{}\": its unfinished file was removed by someone else.", name);
        return fmt::format("Couldn't write \"{}\": the folder \"{}\" does not exist.", name, folder.string());
    case EACCES:
    case EPERM:
        return fmt::format("Couldn't write \"{}\": you may not write in the folder \"{}\".", name, folder.string());
    case EROFS:
        return fmt::format("Couldn't write \"{}\": the folder \"{}\" is on a read-only disk.", name, folder.string());
    case ENAMETOOLONG:
        return fmt::format("Couldn't write \"{}\": the name is too long for the disk.", name);
    case EISDIR:
        return fmt::format("Couldn't write \"{}\": a folder of that name exists in \"{}\".", name, folder.string());
    default:
        return fmt::format("Couldn't write \"{}\" in \"{}\": {}.", name, folder.string(),
            std::generic_category().message(systemError));
    }
}

} // namespace

B2FileError writeFault(const std::filesystem::path& destination, int systemError, std::int64_t neededBytes)
{
    auto sentence = whyNotWritten(folderOf(destination), destination.filename().string(), systemError, neededBytes);
    sentence += " Nothing was kept of it; what was there before is untouched.";
    return {B2FileError::Operation::write, destination, systemError, std::move(sentence)};
}

void checkDestination(const B2Place& destination)
{
    const auto folder = destination.relativeFolder();
    const auto refuse = [&](int systemError) { throw writeFault(destination.path, systemError, -1); };
    struct stat info = {};
    if (fstatat(destination.base(), folder.c_str(), &info, 0) != 0)
        refuse(errno);
    if (!S_ISDIR(info.st_mode))
        refuse(ENOTDIR);
    if (faccessat(destination.base(), folder.c_str(), W_OK | X_OK, 0) != 0)
        refuse(errno);
    if (!destination.path.has_filename())
        refuse(EISDIR);
    if (fstatat(destination.base(), destination.relative().c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0) {
        if (S_ISDIR(info.st_mode))
            refuse(EISDIR);
    } else if (errno != ENOENT) {
        refuse(errno);
    }
}
