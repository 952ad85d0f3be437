#include "foundation/log/LogFile.h"

#include "foundation/Paths.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <iterator>
#include <ranges>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>
#include <utility>

namespace {

/// No more than this is read back; only a file that could not be rotated is larger.
constexpr std::int64_t maxBytesRead = 32'000'000;

/// Reads the end of a regular file: all of it, unless it is unusually large.
std::string readEnd(const std::filesystem::path& file)
{
    std::string text;
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status{};
    if (descriptor < 0)
        return text;
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        text.resize(static_cast<std::size_t>(std::min<std::int64_t>(status.st_size, maxBytesRead)));
        auto offset = status.st_size - static_cast<std::int64_t>(text.size());
        std::size_t filled = 0;
        ssize_t count = 0;
        while (filled < text.size()
            && (count = ::pread(descriptor, text.data() + filled, text.size() - filled, offset)) > 0) {
            filled += static_cast<std::size_t>(count);
            offset += count;
        }
        text.resize(filled);
    }
    ::close(descriptor);
    return text;
}

/// Returns the last lines of a text that are not empty, at most `limit`, newest first.
std::vector<std::string_view> lastLines(std::string_view text, std::size_t limit)
{
    std::vector<std::string_view> lines;
    while (!text.empty() && lines.size() < limit) {
        const auto lineFeed = text.rfind('\n');
        const auto start = lineFeed == std::string_view::npos ? 0 : lineFeed + 1;
        if (start < text.size())
            lines.push_back(text.substr(start));
        text = text.substr(0, start == 0 ? 0 : lineFeed);
    }
    return lines;
}

} // namespace

/// The current file, open for a batch.
class LogFile::Writing {
public:
    explicit Writing(const std::filesystem::path& file)
        : descriptor_(::open(file.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600))
    {
        struct stat status{};
        if (descriptor_ < 0)
            return;
        if (::fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) {
            ::close(std::exchange(descriptor_, -1));
            return;
        }
        size_ = status.st_size;
        // After a crash the last line may be incomplete, and the next one must not become part of it.
        char last = '\n';
        if (size_ > 0 && ::pread(descriptor_, &last, 1, size_ - 1) == 1 && last != '\n')
            text_ = "\n";
    }
    Writing(const Writing&) = delete;
    ~Writing()
    {
        if (descriptor_ < 0)
            return;
        write();
        ::close(descriptor_);
    }

    std::int64_t size() const { return size_ + static_cast<std::int64_t>(text_.size()); }

    void add(std::string_view line)
    {
        text_ += line;
        text_ += '\n';
    }

private:
    void write() const
    {
        std::string_view rest = text_;
        while (!rest.empty()) {
            const auto written = ::write(descriptor_, rest.data(), rest.size());
            if (written < 0) {
                // The disk is full: an incomplete line is taken back.
                if (const auto done = text_.size() - rest.size(); done > 0) [[maybe_unused]]
                    const int ignored =
                        ::ftruncate(descriptor_, size_ + static_cast<std::int64_t>(text_.rfind('\n', done - 1) + 1));
                return;
            }
            rest.remove_prefix(static_cast<std::size_t>(written));
        }
    }

    int descriptor_;
    std::int64_t size_ = 0;
    std::string text_;
};

LogFile::LogFile(std::filesystem::path directory)
    : Actor(executor_)
    , current_(directory / "activity.jsonl")
    , previous_(directory / "activity-previous.jsonl")
{
    // Without the directory every later write fails, which does no other harm.
    std::ignore = makePrivateDirectory(directory);
}

Task<> LogFile::append(std::vector<LogEntry> entries)
{
    auto next = entries.begin();
    bool mayRotate = true;
    while (next != entries.end()) {
        bool isTooLarge = false;
        {
            Writing file(current_);
            for (; next != entries.end() && !isTooLarge;) {
                isTooLarge = mayRotate && file.size() > rotateAboveBytes;
                if (!isTooLarge)
                    file.add(encodeLogLine(*next++));
            }
        }
        if (isTooLarge) {
            rotate();
            // If the files cannot be moved, the line is added to the large file.
            mayRotate = Writing(current_).size() <= rotateAboveBytes;
        }
    }
    co_return;
}

void LogFile::rotate() const
{
    ::unlink(previous_.c_str());
    ::rename(current_.c_str(), previous_.c_str());
}

Task<std::deque<LogEntry>> LogFile::read(std::size_t limit)
{
    const std::string newer = readEnd(current_);
    std::vector<std::string_view> lines = lastLines(newer, limit);
    const std::string older = lines.size() < limit ? readEnd(previous_) : std::string();
    std::ranges::copy(lastLines(older, limit - lines.size()), std::back_inserter(lines));

    std::deque<LogEntry> entries;
    for (const auto line : lines | std::views::reverse) {
        if (auto entry = decodeLogLine(line))
            entries.push_back(std::move(*entry));
    }
    co_return entries;
}

Task<> LogFile::clear()
{
    ::unlink(current_.c_str());
    ::unlink(previous_.c_str());
    co_return;
}
