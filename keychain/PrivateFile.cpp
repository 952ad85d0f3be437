#include "keychain/PrivateFile.h"

#include <fmt/format.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::uintmax_t maxFileBytes = 16'000'000;
constexpr auto setAsideMark = ".set-aside-";

Keychain::Failure cannotRead(const std::filesystem::path& file, int error)
{
    return {Keychain::Status::cannotWrite,
        fmt::format("The stored keys in “{}” couldn't be read: {}. The file was left unchanged.", file.string(),
            std::error_code(error, std::generic_category()).message())};
}

} // namespace

Keychain::Failure cannotSaveKeys(const std::filesystem::path& file, const std::error_code& error)
{
    return {Keychain::Status::cannotWrite,
        fmt::format(
            "The keys couldn't be saved in “{}”: {}. Keys stored earlier are kept.", file.string(), error.message())};
}

std::optional<std::string> privateFileContent(const std::filesystem::path& file)
{
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
    if (descriptor < 0) {
        if (errno == ENOENT)
            return std::nullopt;
        throw cannotRead(file, errno);
    }
    const auto fail = [&](int error) {
        ::close(descriptor);
        return cannotRead(file, error);
    };
    struct stat status{};
    if (::fstat(descriptor, &status) != 0)
        throw fail(errno);
    if (!S_ISREG(status.st_mode) || static_cast<std::uintmax_t>(status.st_size) > maxFileBytes)
        throw fail(EINVAL);
    if ((status.st_mode & 0077) != 0)
        ::fchmod(descriptor, 0600);
    std::string content(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t have = 0;
    while (have < content.size()) {
        const auto count = ::read(descriptor, content.data() + have, content.size() - have);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw fail(errno);
        if (count == 0)
            break;
        have += static_cast<std::size_t>(count);
    }
    content.resize(have);
    ::close(descriptor);
    return content;
}

bool wasSetAside(const std::filesystem::path& file)
{
    const std::string begin = file.filename().string() + setAsideMark;
    std::error_code error;
    for (std::filesystem::directory_iterator each(file.parent_path(), error), end; !error && each != end;
        each.increment(error)) {
        if (each->path().filename().string().starts_with(begin))
            return true;
    }
    return static_cast<bool>(error);
}

std::filesystem::path setFileAside(const std::filesystem::path& file)
{
    for (int number = 1;; ++number) {
        auto aside = file;
        aside += setAsideMark + std::to_string(number);
        if (::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) == 0)
            return aside;
        if (errno != EEXIST)
            throw cannotSaveKeys(file, std::error_code(errno, std::generic_category()));
    }
}
