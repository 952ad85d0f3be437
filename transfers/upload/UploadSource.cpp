#include "transfers/upload/UploadSource.h"

#include "B2Kit/wire/B2Text.h"
#include "foundation/QtText.h"
#include "foundation/Texts.h"

#include <QMimeDatabase>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

std::string whyUnreadable(const std::filesystem::path& path, int systemError)
{
    const auto name = path.filename().string();
    switch (systemError) {
    case ENOENT:
    case ENOTDIR:
        return fmt::format("\"{}\" is no longer in \"{}\".", name, path.parent_path().string());
    case EACCES:
    case EPERM:
        return fmt::format("\"{}\" can't be read: you have no permission.", name);
    default:
        return fmt::format("\"{}\" can't be read: {}.", name, std::generic_category().message(systemError));
    }
}

} // namespace

std::chrono::system_clock::time_point toDate(const timespec& time)
{
    const auto sinceEpoch = std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    return std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(sinceEpoch));
}

std::expected<UploadSource, BytesFailure> inspectUploadSource(const std::filesystem::path& path, BytesFate fate)
{
    const auto name = path.filename().string();
    const auto refused = [fate](std::string cause) {
        return std::unexpected(BytesFailure{.cause = std::move(cause), .fate = fate, .advice = {}});
    };
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0)
        return refused(whyUnreadable(path, errno));
    if (S_ISDIR(info.st_mode))
        return refused(fmt::format("\"{}\" is a folder now, not a file.", name));
    if (!S_ISREG(info.st_mode))
        return refused(fmt::format("\"{}\" is not a file with content.", name));
    if (access(path.c_str(), R_OK) != 0)
        return refused(whyUnreadable(path, errno));
    return UploadSource{path, info.st_size, toDate(info.st_mtim), info.st_dev, info.st_ino};
}

SourceChange compare(const UploadSource& source)
{
    struct stat info = {};
    if (stat(source.path.c_str(), &info) != 0)
        return errno == ENOENT ? SourceChange::gone : SourceChange::changed;
    const UploadSource now{source.path, info.st_size, toDate(info.st_mtim), info.st_dev, info.st_ino};
    return now == source ? SourceChange::none : SourceChange::changed;
}

std::string contentTypeFor(const std::filesystem::path& path)
{
    const QMimeDatabase types;
    const auto type = types.mimeTypeForFile(toQString(path.filename().string()), QMimeDatabase::MatchExtension);
    // A type that is no kind of data (a folder or device), or merely "data", is of no use to the service.
    if (!type.isValid() || type.isDefault() || !type.inherits(QStringLiteral("application/octet-stream")))
        return "b2/x-auto";
    return fromQString(type.name());
}

std::expected<std::string, BytesFailure> uploadName(std::string_view prefix, const std::filesystem::path& path)
{
    constexpr std::size_t longest = 1024;
    // A path to a folder may end with a slash.
    const auto own = path.has_filename() ? path.filename() : path.parent_path().filename();
    const auto name = std::string(prefix) + own.string();
    const auto refused = [&](std::string_view reason) {
        return std::unexpected(BytesFailure{.cause = fmt::format("\"{}\" can't be uploaded: {}.", own.string(), reason),
            .fate = BytesFate::nothing(),
            .advice = "Rename it and try again."});
    };
    if (own.empty() || own == "." || own == "..")
        return refused("it has no name of its own");
    if (!isUTF8(name))
        return refused("its name is not valid UTF-8");
    if (std::ranges::any_of(name, [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; }))
        return refused("its name has control characters");
    if (name.size() > longest)
        return refused(fmt::format("its name with the folder is {} bytes long, and B2 takes {}", name.size(), longest));
    return name;
}
