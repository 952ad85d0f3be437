#include "transfers/download/FolderLanding.h"

#include "transfers/download/LocalNames.h"

#include <fmt/format.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>

namespace {

/// Opens the folder of an earlier attempt, else one with the wanted name, else one with a number.
B2Folder::Result openTop(const B2Folder& destination, const FolderLanding::Parts& parts)
{
    if (parts.earlierName) {
        if (auto again = destination.subfolder(*parts.earlierName, B2Folder::Missing::make))
            return again;
    }
    const auto limit = longestNameIn(destination);
    const auto wanted = shortenedName(parts.name, limit);
    auto top = destination.subfolder(wanted, B2Folder::Missing::make);
    if (top || top.error() != ENOTDIR)
        return top;
    const auto isTaken = [&](const std::string& candidate) {
        struct stat info = {};
        return fstatat(destination.descriptor(), candidate.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
    };
    return destination.subfolder(numberedName(wanted, limit, isTaken), B2Folder::Missing::make);
}

std::string whyNoFolder(int systemError)
{
    switch (systemError) {
    case ENOTDIR:
        return "a file or a link has its name";
    case ENAMETOOLONG:
        return "its name is longer than this disk takes";
    case EACCES:
    case EPERM:
        return "you have no permission";
    default:
        return std::generic_category().message(systemError);
    }
}

} // namespace

FolderLanding::FolderLanding(std::shared_ptr<const B2Folder> top, Parts parts)
    : top_(std::move(top))
    , landed_(std::move(parts.landed))
    , mark_(parts.markDirectory)
{
}

std::expected<std::shared_ptr<FolderLanding>, BytesFailure> FolderLanding::open(Parts parts)
{
    const auto fail = [&](const std::string& reason) {
        return std::unexpected(folderFailure(parts.destination, reason));
    };
    if (const auto problem = folderProblem(parts.destination))
        return fail(*problem);
    const auto destination = B2Folder::open(parts.destination.path);
    if (!destination)
        return fail("can't be opened: " + whyNoFolder(destination.error()));
    auto top = openTop(**destination, parts);
    if (!top)
        return fail(fmt::format("can't take a folder \"{}\": {}", parts.name, whyNoFolder(top.error())));
    return std::shared_ptr<FolderLanding>(new FolderLanding(std::move(*top), std::move(parts)));
}

B2Folder::Result FolderLanding::folderOf(const std::string& relativeFolder)
{
    // Files come in name order, so it is mostly the folder of the previous one.
    if (current_ && currentFolder_ == relativeFolder)
        return current_;
    auto folder =
        relativeFolder.empty() ? B2Folder::Result(top_) : top_->subfolder(relativeFolder, B2Folder::Missing::make);
    if (folder) {
        mark_.set(top_->path(), relativeFolder);
        current_ = *folder;
        currentFolder_ = relativeFolder;
    }
    return folder;
}

std::expected<PreparedDestination, BytesFailure> FolderLanding::prepare(
    const std::string& relativePath, ExistingFilePolicy policy, ReservedPaths& reserved)
{
    const auto slash = relativePath.rfind('/');
    const auto name = slash == std::string::npos ? relativePath : relativePath.substr(slash + 1);
    const auto relativeFolder = slash == std::string::npos ? std::string() : relativePath.substr(0, slash);
    const auto folder = folderOf(relativeFolder);
    if (!folder)
        return std::unexpected(
            BytesFailure{.cause = fmt::format("The folder \"{}\" of \"{}\" can't be made or opened: {}.",
                             relativeFolder, name, whyNoFolder(folder.error())),
                .fate = BytesFate::nothing(),
                .advice = {}});
    return settleDestination(*folder, name, policy, reserved, landed_.get());
}

void FolderLanding::noteLanded(const B2Place& place)
{
    if (const auto identity = identityAt(place))
        landed_->insert(*identity);
}

bool FolderLanding::holds(const std::filesystem::path& file, std::int64_t byteCount) const
{
    std::error_code error;
    const auto status = std::filesystem::symlink_status(file, error);
    return std::filesystem::is_regular_file(status)
        && static_cast<std::int64_t>(std::filesystem::file_size(file, error)) == byteCount;
}
