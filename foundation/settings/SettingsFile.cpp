#include "foundation/settings/SettingsFile.h"

#include "foundation/AtomicFile.h"
#include "foundation/settings/FileLock.h"

#include <QJsonDocument>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

namespace {

constexpr std::size_t maxFileBytes = 64'000'000;

/// The content of a regular file; an empty optional without an error for anything else, or for one that is too large.
std::optional<std::string> readRegularFile(const std::filesystem::path& file, std::error_code& error)
{
    // Without O_NONBLOCK, a pipe in the file's place would block the start for ever.
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        error = {errno, std::generic_category()};
        return std::nullopt;
    }
    std::optional<std::string> content;
    struct stat status{};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        content.emplace();
        char block[65536];
        ssize_t count = 0;
        while (content->size() <= maxFileBytes && (count = ::read(descriptor, block, sizeof block)) > 0)
            content->append(block, static_cast<std::size_t>(count));
        if (count < 0)
            error = {errno, std::generic_category()};
        if (count < 0 || content->size() > maxFileBytes)
            content.reset();
    }
    ::close(descriptor);
    return content;
}

std::expected<std::filesystem::path, std::error_code> moveAside(const std::filesystem::path& file)
{
    for (int number = 1;; ++number) {
        auto aside = file;
        aside += ".damaged-" + std::to_string(number);
        if (::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) == 0)
            return aside;
        if (errno != EEXIST)
            return std::unexpected(std::error_code(errno, std::generic_category()));
    }
}

} // namespace

std::filesystem::path settingsLock(const std::filesystem::path& file)
{
    auto lock = file;
    lock += ".lock";
    return lock;
}

SettingsContent readSettings(const std::filesystem::path& file)
{
    SettingsContent read;
    const auto content = readRegularFile(file, read.error);
    if (read.error) {
        const bool isAbsent = read.error == std::errc::no_such_file_or_directory;
        read.state = isAbsent ? SettingsContent::State::absent : SettingsContent::State::unreadable;
        return read;
    }
    const auto document = content ? QJsonDocument::fromJson(QByteArray::fromStdString(*content)) : QJsonDocument();
    read.state = document.isObject() ? SettingsContent::State::valid : SettingsContent::State::damaged;
    read.values = document.object();
    return read;
}

std::expected<std::optional<std::filesystem::path>, std::error_code> setAsideDamaged(const std::filesystem::path& file)
{
    // Does not wait: the program that holds the lock is about to replace the file.
    const auto lock = FileLock::take(settingsLock(file), std::chrono::milliseconds(0));
    const bool isBeingWritten = !lock && lock.error() == std::errc::timed_out;
    if (isBeingWritten || readSettings(file).state != SettingsContent::State::damaged)
        return std::nullopt;
    return moveAside(file);
}

SettingsMerge mergeSettings(
    const std::filesystem::path& file, const SettingsChange& change, std::chrono::milliseconds lockLimit)
{
    SettingsMerge merge;
    const auto lock = FileLock::take(settingsLock(file), lockLimit);
    // Some file systems have no locks; there the merge alone must do.
    if (!lock && lock.error() == std::errc::timed_out) {
        merge.error = lock.error();
        return merge;
    }
    const auto content = readSettings(file);
    if (content.state == SettingsContent::State::unreadable) {
        merge.error = content.error;
        return merge;
    }
    if (content.state == SettingsContent::State::damaged) {
        auto moved = moveAside(file);
        if (!moved) {
            merge.error = moved.error();
            return merge;
        }
        merge.setAside = std::move(*moved);
    }
    if (content.state == SettingsContent::State::valid) {
        merge.values = content.values;
        for (const auto& key : change.changedKeys)
            merge.values.insert(key, change.values.value(key)); // Inserting an undefined value removes the key.
    } else {
        merge.values = change.values;
    }
    const QByteArray text = QJsonDocument(merge.values).toJson(QJsonDocument::Indented);
    merge.error = replaceFile(file, {text.constData(), static_cast<std::size_t>(text.size())});
    return merge;
}
