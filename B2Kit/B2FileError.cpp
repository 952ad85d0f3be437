#include "B2Kit/B2Error.h"

#include <cerrno>
#include <fmt/format.h>
#include <system_error>

namespace {

std::string reasonOf(int systemError)
{
    switch (systemError) {
    case ENOENT:
    case ENOTDIR:
        return "it no longer exists";
    case EACCES:
    case EPERM:
        return "you have no permission";
    case EROFS:
        return "the disk is read-only";
    case ENOSPC:
        return "the disk is full";
    case EDQUOT:
        return "your disk quota is used up";
    case EFBIG:
        return "it is larger than this disk or your limits allow";
    case ENAMETOOLONG:
        return "its name is too long for this disk";
    case EISDIR:
        return "it is a folder";
    case EIO:
        return "the disk reports an error";
    default:
        return std::generic_category().message(systemError);
    }
}

std::string fileErrorText(
    B2FileError::Operation operation, const std::filesystem::path& path, int systemError, std::string reason)
{
    if (!reason.empty())
        return reason;
    const auto name = path.filename().string();
    switch (operation) {
    case B2FileError::Operation::read:
        return fmt::format("Couldn't read \"{}\": {}.", name, reasonOf(systemError));
    case B2FileError::Operation::write:
        return fmt::format("Couldn't write \"{}\": {}.", name, reasonOf(systemError));
    case B2FileError::Operation::replace:
        return fmt::format("Couldn't put \"{}\" in its place: {}.", name, reasonOf(systemError));
    }
    return reasonOf(systemError);
}

} // namespace

B2FileError::B2FileError(Operation operation, std::filesystem::path path, int systemError, std::string reason)
    : path_(std::move(path))
    , systemError_(systemError)
    , description_(fileErrorText(operation, path_, systemError_, std::move(reason)))
{
}
