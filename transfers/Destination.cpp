#include "transfers/Destination.h"

#include "transfers/LocalNames.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

/// Why nothing can be saved in the folder, as a clause.
std::optional<std::string> folderProblem(const DownloadFolder& folder)
{
    std::error_code error;
    if (folder.isDefault)
        std::filesystem::create_directories(folder.path, error);
    const auto status = std::filesystem::status(folder.path, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return "doesn't exist any more";
    if (error)
        return "can't be opened: " + error.message();
    if (!std::filesystem::is_directory(status))
        return "is not a folder any more";
    if (access(folder.path.c_str(), W_OK | X_OK) == 0)
        return {};
    return errno == EROFS ? "is on a read-only disk" : "can't be written to: you have no permission";
}

std::size_t nameLimit(const std::filesystem::path& folder)
{
    constexpr std::size_t usual = 255;
    const long limit = pathconf(folder.c_str(), _PC_NAME_MAX);
    return limit > 0 ? static_cast<std::size_t>(limit) : usual;
}

/// A link that leads nowhere is something too.
bool isSomethingAt(const std::filesystem::path& path)
{
    std::error_code error;
    return std::filesystem::exists(std::filesystem::symlink_status(path, error));
}

} // namespace

ReservedPaths::Reservation::Reservation(std::shared_ptr<ReservedPaths> owner, std::filesystem::path path)
    : owner_(std::move(owner))
    , path_(std::move(path))
{
}

ReservedPaths::Reservation::~Reservation()
{
    if (!owner_)
        return;
    const std::lock_guard lock(owner_->mutex_);
    owner_->paths_.erase(path_);
}

std::optional<ReservedPaths::Reservation> ReservedPaths::reserve(const std::filesystem::path& path)
{
    const std::lock_guard lock(mutex_);
    if (!paths_.insert(path).second)
        return {};
    return Reservation(shared_from_this(), path);
}

std::expected<PreparedDestination, std::string> prepareDestination(
    const DownloadFolder& folder, const std::string& name, ExistingFilePolicy policy, ReservedPaths& reserved)
{
    if (const auto problem = folderProblem(folder))
        return std::unexpected(fmt::format("The folder \"{}\" {}. Nothing was saved of \"{}\"; choose another folder "
                                           "for downloads and try again.",
            folder.path.string(), *problem, name));

    const auto limit = nameLimit(folder.path);
    const auto wanted = shortenedName(name, limit);
    PreparedDestination prepared{.choice = {folder.path / wanted, {}}, .isShortened = wanted != name};
    const bool isThere = isSomethingAt(prepared.choice.target);
    if (isThere && policy == ExistingFilePolicy::skip) {
        prepared.choice.skippedFor = prepared.choice.target;
        return prepared;
    }
    if (!isThere || policy == ExistingFilePolicy::replace)
        prepared.reservation = reserved.reserve(prepared.choice.target);
    if (!prepared.reservation) {
        const auto isTaken = [&](const std::string& candidate) {
            if (isSomethingAt(folder.path / candidate))
                return true;
            prepared.reservation = reserved.reserve(folder.path / candidate);
            return !prepared.reservation;
        };
        prepared.choice.target = folder.path / numberedName(wanted, limit, isTaken);
    }
    return prepared;
}
