#include "foundation/Paths.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>

namespace {

std::filesystem::path fromQt(const QString& path)
{
    return QFile::encodeName(path).toStdString();
}

/// @param variable  an XDG variable; the standard says to ignore a relative path in it.
std::filesystem::path baseDirectory(const char* variable, const char* fallbackBelowHome)
{
    const char* const value = std::getenv(variable);
    if (value && std::filesystem::path(value).is_absolute())
        return value;
    return fromQt(QDir::homePath()) / fallbackBelowHome;
}

} // namespace

std::filesystem::path configDirectory()
{
    return baseDirectory("XDG_CONFIG_HOME", ".config") / "kestrovan";
}

std::filesystem::path stateDirectory()
{
    return baseDirectory("XDG_STATE_HOME", ".local/state") / "kestrovan";
}

std::filesystem::path dataDirectory()
{
    return baseDirectory("XDG_DATA_HOME", ".local/share") / "kestrovan";
}

std::filesystem::path cacheDirectory()
{
    return baseDirectory("XDG_CACHE_HOME", ".cache") / "kestrovan";
}

std::filesystem::path downloadsDirectory()
{
    return fromQt(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation));
}

std::error_code makePrivateDirectory(const std::filesystem::path& directory)
{
    if (directory.empty())
        return std::make_error_code(std::errc::no_such_file_or_directory);
    if (::mkdir(directory.c_str(), 0700) == 0)
        return {};
    const int error = errno;
    if (error == EEXIST) {
        std::error_code ignored;
        return std::filesystem::is_directory(directory, ignored) ? std::error_code()
                                                                 : std::make_error_code(std::errc::not_a_directory);
    }
    const auto parent = directory.parent_path();
    if (error != ENOENT || parent == directory)
        return {error, std::generic_category()};
    if (const auto failure = makePrivateDirectory(parent))
        return failure;
    return ::mkdir(directory.c_str(), 0700) == 0 || errno == EEXIST ? std::error_code()
                                                                    : std::error_code(errno, std::generic_category());
}
