#include "transfers/upload/FolderScan.h"

#include "B2Kit/files/B2Folder.h"
#include "foundation/runs/BytesFate.h"
#include "transfers/upload/UploadSource.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <expected>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

/// The longest name at the service: nothing below a longer path can be sent.
constexpr std::size_t longestPath = 1024;
/// The interval between reports of the running total.
constexpr auto reportInterval = std::chrono::milliseconds(50);

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};

std::string reasonText(int systemError)
{
    return systemError == EACCES || systemError == EPERM ? "you have no permission"
                                                         : std::generic_category().message(systemError);
}

/// @param mode  of an item that is neither a regular file nor a folder.
std::string passedOverReason(mode_t mode)
{
    const char* what = "a device";
    if (S_ISLNK(mode))
        what = "a link";
    else if (S_ISFIFO(mode))
        what = "a pipe";
    else if (S_ISSOCK(mode))
        what = "a socket";
    return fmt::format("It is {}, not a file, and is not sent.", what);
}

/// Lists the names in an open folder, in byte order.
std::expected<std::vector<std::string>, int> namesIn(const B2Folder& folder)
{
    const int descriptor = fcntl(folder.descriptor(), F_DUPFD_CLOEXEC, 0);
    const std::unique_ptr<DIR, CloseFolder> entries(descriptor < 0 ? nullptr : fdopendir(descriptor));
    if (!entries) {
        const int systemError = errno;
        if (descriptor >= 0)
            close(descriptor);
        return std::unexpected(systemError);
    }
    std::vector<std::string> names;
    while (true) {
        errno = 0;
        const dirent* const entry = readdir(entries.get());
        if (!entry)
            break;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            names.emplace_back(name);
    }
    if (errno != 0)
        return std::unexpected(errno);
    std::ranges::sort(names);
    return names;
}

class Scanner {
public:
    Scanner(const std::filesystem::path& folder, const std::string& prefix, const std::stop_token& stop,
        const std::function<void(std::int64_t)>& onFound)
        : folder_(folder)
        , prefix_(prefix)
        , stop_(stop)
        , onFound_(onFound)
    {
    }

    FolderScan run()
    {
        const auto root = B2Folder::open(folder_);
        if (!root) {
            refuseFolder({}, reasonText(root.error()));
            return std::move(scan_);
        }
        lookInto(**root, {});
        // One folder at a time, each opened from the top: few descriptors and no recursion, however deep the tree.
        while (!waiting_.empty() && !stop_.stop_requested()) {
            const auto relativePath = std::move(waiting_.back());
            waiting_.pop_back();
            if (const auto subfolder = (*root)->subfolder(relativePath, B2Folder::Missing::refuse))
                lookInto(**subfolder, relativePath + '/');
            else if (subfolder.error() != ENOENT)
                refuseFolder(relativePath, reasonText(subfolder.error()));
        }
        return std::move(scan_);
    }

private:
    /// @param above  its relative path with a "/", or nothing.
    void lookInto(const B2Folder& folder, const std::string& above)
    {
        const auto names = namesIn(folder);
        if (!names) {
            refuseFolder(above.substr(0, above.empty() ? 0 : above.size() - 1), reasonText(names.error()));
            return;
        }
        if (names->empty() && !above.empty())
            scan_.emptyFolders.add(above, "It is an empty folder, which cannot be stored in a bucket.");
        const auto firstBelow = waiting_.size();
        for (const auto& name : *names) {
            if (stop_.stop_requested())
                return;
            struct stat info = {};
            // An item that is already gone no longer belongs to the folder.
            if (fstatat(folder.descriptor(), name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
                if (errno != ENOENT)
                    scan_.refusedFiles.push_back({above + name,
                        failureText(BytesOperation::upload,
                            {.cause = fmt::format("\"{}\" can't be read: {}.", name, reasonText(errno)),
                                .fate = BytesFate::nothing(),
                                .advice = {}})});
                continue;
            }
            if (S_ISDIR(info.st_mode))
                queueFolder(above + name);
            else if (S_ISREG(info.st_mode))
                take(above, name, info);
            else
                scan_.passedOver.add(above + name, passedOverReason(info.st_mode));
            report();
        }
        // The last waiting folder is the next one.
        std::reverse(waiting_.begin() + static_cast<std::ptrdiff_t>(firstBelow), waiting_.end());
    }

    void queueFolder(std::string relativePath)
    {
        if (prefix_.size() + relativePath.size() < longestPath)
            waiting_.push_back(std::move(relativePath));
        else
            refuseFolder(
                relativePath, fmt::format("names in it are longer than the {} bytes that B2 takes", longestPath));
    }

    void take(const std::string& above, const std::string& name, const struct stat& info)
    {
        if (const auto allowed = uploadName(prefix_ + above, name); !allowed) {
            scan_.refusedFiles.push_back({above + name, failureText(BytesOperation::upload, allowed.error())});
            return;
        }
        scan_.files.push_back({above + name, info.st_size, toDate(info.st_mtim)});
        scan_.byteCount += info.st_size;
    }

    void refuseFolder(const std::string& relativePath, const std::string& reason)
    {
        const auto name = relativePath.empty() ? folder_.filename().string() : relativePath;
        scan_.unreadableFolders.push_back(
            {relativePath, fmt::format("The folder \"{}\" can't be read: {}.", name, reason)});
    }

    void report()
    {
        const auto now = std::chrono::steady_clock::now();
        if (!onFound_ || now - lastReport_ < reportInterval)
            return;
        lastReport_ = now;
        onFound_(scan_.byteCount);
    }

    const std::filesystem::path& folder_;
    const std::string& prefix_;
    const std::stop_token& stop_;
    const std::function<void(std::int64_t)>& onFound_;
    std::vector<std::string> waiting_; ///< Relative paths of folders to look into, the next one last.
    FolderScan scan_;
    std::chrono::steady_clock::time_point lastReport_ = std::chrono::steady_clock::now();
};

} // namespace

void LeftOut::add(std::string relativePath, std::string reason)
{
    ++count;
    if (named.size() < maxNamed)
        named.push_back({std::move(relativePath), std::move(reason), FileProblem::Kind::leftOut});
}

FolderScan scanFolder(const std::filesystem::path& folder, const std::string& prefix, const std::stop_token& stop,
    const std::function<void(std::int64_t byteCount)>& onFound)
{
    return Scanner(folder, prefix, stop, onFound).run();
}
