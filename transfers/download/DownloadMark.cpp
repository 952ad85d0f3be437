#include "transfers/download/DownloadMark.h"

#include "B2Kit/files/B2TemporaryName.h"
#include "foundation/Paths.h"

#include <QUuid>

#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

/// The top folder and the relative path, each terminated by a zero byte, which no path contains.
std::string noteText(const std::filesystem::path& top, std::string_view relativePath)
{
    std::string text = top.native();
    text += '\0';
    text += relativePath;
    text += '\0';
    return text;
}

std::string readAll(int descriptor)
{
    // A name of the service has at most 1,024 bytes, below a path of this system.
    std::string text(8192, '\0');
    const auto count = pread(descriptor, text.data(), text.size(), 0);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
}

int clearFolderOf(const std::string& note)
{
    const auto first = note.find('\0');
    const auto second = first == std::string::npos ? first : note.find('\0', first + 1);
    if (second == std::string::npos)
        return 0;
    const auto top = B2Folder::open(note.substr(0, first));
    if (!top)
        return 0;
    const auto relativePath = note.substr(first + 1, second - first - 1);
    if (relativePath.empty())
        return removeAbandonedFiles(**top);
    const auto folder = (*top)->subfolder(relativePath, B2Folder::Missing::refuse);
    return folder ? removeAbandonedFiles(**folder) : 0;
}

} // namespace

DownloadMark::DownloadMark(const std::filesystem::path& directory)
{
    if (makePrivateDirectory(directory))
        return;
    path_ = directory / QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
    descriptor_ = open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    // A note that can be locked belongs to a process that has ended.
    if (descriptor_ >= 0)
        flock(descriptor_, LOCK_EX | LOCK_NB);
}

DownloadMark::~DownloadMark()
{
    if (descriptor_ < 0)
        return;
    unlink(path_.c_str());
    close(descriptor_);
}

void DownloadMark::set(const std::filesystem::path& top, std::string_view relativePath)
{
    if (descriptor_ < 0)
        return;
    const auto text = noteText(top, relativePath);
    // A kill in between leaves neither a note nor a temporary file: the next temporary file is created after this.
    if (ftruncate(descriptor_, 0) == 0) [[maybe_unused]]
        const auto written = pwrite(descriptor_, text.data(), text.size(), 0);
}

std::filesystem::path downloadMarkDirectory()
{
    return stateDirectory() / "Downloads";
}

int removeFilesOfKilledDownloads(const std::filesystem::path& directory)
{
    int removed = 0;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
        entry.increment(error)) {
        const int descriptor = open(entry->path().c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (descriptor < 0)
            continue;
        struct stat info = {};
        if (fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode) && flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
            removed += clearFolderOf(readAll(descriptor));
            unlink(entry->path().c_str());
        }
        close(descriptor);
    }
    return removed;
}
