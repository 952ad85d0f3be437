#include "B2Kit/files/B2Folder.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

/// @returns the descriptor, or -1 with `errno`.
int openComponent(int base, const std::string& name, B2Folder::Missing missing)
{
    const auto openIt = [&] { return openat(base, name.c_str(), folderFlags | O_NOFOLLOW); };
    int descriptor = openIt();
    if (descriptor < 0 && errno == ENOENT && missing == B2Folder::Missing::make) {
        if (mkdirat(base, name.c_str(), 0777) == 0 || errno == EEXIST)
            descriptor = openIt();
    }
    if (descriptor < 0 && errno == ELOOP)
        errno = ENOTDIR;
    return descriptor;
}

bool isComponent(std::string_view name)
{
    return !name.empty() && name != "." && name != ".." && name.find('\0') == std::string_view::npos;
}

} // namespace

B2Folder::B2Folder(int descriptor, std::filesystem::path path)
    : descriptor_(descriptor)
    , path_(std::move(path))
{
}

B2Folder::~B2Folder()
{
    close(descriptor_);
}

B2Folder::Result B2Folder::open(const std::filesystem::path& path)
{
    const int descriptor = ::open(path.empty() ? "." : path.c_str(), folderFlags);
    if (descriptor < 0)
        return std::unexpected(errno);
    return std::shared_ptr<const B2Folder>(new B2Folder(descriptor, path));
}

B2Folder::Result B2Folder::subfolder(std::string_view relativePath, Missing missing) const
{
    // Component by component, since the whole path may be longer than the system allows.
    int current = fcntl(descriptor_, F_DUPFD_CLOEXEC, 0);
    if (current < 0)
        return std::unexpected(errno);
    auto rest = relativePath;
    while (true) {
        const auto slash = rest.find('/');
        const auto name = rest.substr(0, slash);
        const int next = isComponent(name) ? openComponent(current, std::string(name), missing) : -1;
        const int systemError = isComponent(name) ? errno : EINVAL;
        close(current);
        if (next < 0)
            return std::unexpected(systemError);
        current = next;
        if (slash == std::string_view::npos)
            break;
        rest.remove_prefix(slash + 1);
    }
    return std::shared_ptr<const B2Folder>(new B2Folder(current, path_ / relativePath));
}
