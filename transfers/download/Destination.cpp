#include "transfers/download/Destination.h"

#include "B2Kit/files/B2TemporaryName.h"
#include "transfers/download/LocalNames.h"

#include <fmt/format.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::size_t usualNameLimit = 255;

std::size_t nameLimit(long limit)
{
    return limit > 0 ? static_cast<std::size_t>(limit) : usualNameLimit;
}

bool isFolderAt(const B2Place& place)
{
    struct stat info = {};
    return fstatat(place.base(), place.relative().c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode);
}

PreparedDestination settle(const B2Place& wanted, std::size_t limit, ExistingFilePolicy policy, ReservedPaths& reserved,
    const LandedFiles* landed)
{
    PreparedDestination prepared{.choice = {wanted.path, {}}, .folder = wanted.folder};
    const auto standing = identityAt(wanted);
    // A file named like our temporary files would be deleted by a later clean-up.
    prepared.isTwin =
        (standing && landed && landed->contains(*standing)) || isTemporaryName(wanted.path.filename().native());
    // A folder of that name is not the same file.
    prepared.isTwin = prepared.isTwin || (standing && policy == ExistingFilePolicy::skip && isFolderAt(wanted));
    if (standing && !prepared.isTwin && policy == ExistingFilePolicy::skip) {
        prepared.choice.skippedFor = wanted.path;
        return prepared;
    }
    prepared.numbers = std::make_shared<NumberedPlaces>(wanted, limit, reserved.shared_from_this());
    const bool mayBePlain = !prepared.isTwin && (!standing || policy == ExistingFilePolicy::replace);
    if (mayBePlain && prepared.numbers->takePlain())
        prepared.replaces = policy == ExistingFilePolicy::replace;
    else if (const auto numbered = prepared.numbers->takeNext())
        prepared.choice.target = *numbered;
    else
        prepared.replaces = true;
    return prepared;
}

} // namespace

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

NumberedPlaces::NumberedPlaces(B2Place plain, std::size_t nameLimit, std::shared_ptr<ReservedPaths> reserved)
    : plain_(std::move(plain))
    , nameLimit_(nameLimit)
    , reserved_(std::move(reserved))
    , place_(plain_)
{
}

bool NumberedPlaces::takePlain()
{
    reservation_ = reserved_->reserve(plain_.path);
    return reservation_.has_value();
}

std::optional<std::filesystem::path> NumberedPlaces::takeNext()
{
    std::optional<ReservedPaths::Reservation> taken;
    const auto isTaken = [&](const std::string& candidate) {
        if (!tried_.insert(candidate).second || identityAt(plain_.beside(candidate)))
            return true;
        taken = reserved_->reserve(plain_.beside(candidate).path);
        return !taken;
    };
    const auto name = numberedName(plain_.path.filename().string(), nameLimit_, isTaken);
    if (!taken) {
        place_ = plain_;
        return std::nullopt;
    }
    reservation_ = std::move(taken);
    place_ = plain_.beside(name);
    return place_.path;
}

std::optional<FileIdentity> identityAt(const B2Place& place)
{
    struct stat info = {};
    if (fstatat(place.base(), place.relative().c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0)
        return {};
    return FileIdentity(info.st_dev, info.st_ino);
}

std::size_t longestNameIn(const B2Folder& folder)
{
    return nameLimit(fpathconf(folder.descriptor(), _PC_NAME_MAX));
}

BytesFailure folderFailure(const DownloadFolder& folder, std::string_view problem)
{
    return {.cause = fmt::format("The folder \"{}\" {}.", folder.path.string(), problem),
        .fate = BytesFate::nothing(),
        .advice = "Choose another folder for downloads and try again."};
}

std::expected<PreparedDestination, BytesFailure> prepareDestination(
    const DownloadFolder& folder, const std::string& name, ExistingFilePolicy policy, ReservedPaths& reserved)
{
    if (const auto problem = folderProblem(folder))
        return std::unexpected(folderFailure(folder, *problem));
    if (auto opened = B2Folder::open(folder.path))
        return settleDestination(std::move(*opened), name, policy, reserved, nullptr);
    // A folder that may be written to but not read.
    const auto limit = nameLimit(pathconf(folder.path.c_str(), _PC_NAME_MAX));
    const auto wanted = shortenedName(name, limit);
    auto prepared = settle(folder.path / wanted, limit, policy, reserved, nullptr);
    prepared.isShortened = wanted != name;
    return prepared;
}

PreparedDestination settleDestination(std::shared_ptr<const B2Folder> folder, const std::string& name,
    ExistingFilePolicy policy, ReservedPaths& reserved, const LandedFiles* landed)
{
    const auto limit = longestNameIn(*folder);
    const auto wanted = shortenedName(name, limit);
    const auto path = folder->path() / wanted;
    auto prepared = settle({path, std::move(folder)}, limit, policy, reserved, landed);
    prepared.isShortened = wanted != name;
    return prepared;
}
