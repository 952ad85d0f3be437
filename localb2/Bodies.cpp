#include "localb2/Bodies.h"

#include "localb2/Database.h"
#include "localb2/Encoding.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace localb2 {

namespace {

// Up to this size a body is a value in the database: creating a file would cost more.
constexpr std::size_t smallBody = 65536;

} // namespace

BodyWriter::BodyWriter(Bodies& bodies)
    : bodies_(bodies)
    , id_(++bodies.lastID_)
    , digests_(bodies.reckonsMD5_)
{
}

BodyWriter::~BodyWriter()
{
    if (file_ < 0)
        return;
    ::close(file_);
    if (!isStored_)
        ::unlink(bodies_.fileOf(id_).c_str());
}

void BodyWriter::add(std::span<const char> bytes)
{
    digests_.add(bytes);
    length_ += static_cast<std::int64_t>(bytes.size());
    if (file_ < 0 && small_.size() + bytes.size() <= smallBody) {
        small_.append(bytes.data(), bytes.size());
        return;
    }
    if (file_ < 0) {
        file_ = ::open(bodies_.fileOf(id_).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (file_ < 0)
            throw Failure(500, "internal_error", std::string("Couldn't create a file: ") + std::strerror(errno));
        spill(small_);
        small_ = {};
    }
    spill(bytes);
}

void BodyWriter::spill(std::span<const char> bytes)
{
    while (!bytes.empty()) {
        const auto written = ::write(file_, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            throw Failure(500, "internal_error", std::string("Couldn't write a file: ") + std::strerror(errno));
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

const Digests::Hex& BodyWriter::finish()
{
    hashes_ = digests_.finish();
    return hashes_;
}

Bodies::Bodies(Database& database, std::filesystem::path directory, bool reckonsMD5)
    : database_(database)
    , directory_(std::move(directory))
    , reckonsMD5_(reckonsMD5)
{
    std::filesystem::create_directories(directory_);
    Query newest(database_, "SELECT max(id) FROM bodies");
    if (newest.next())
        lastID_ = newest.integer(0);
    for (const auto& entry : std::filesystem::directory_iterator(directory_)) {
        const auto id = wholeNumber(entry.path().filename().string());
        Query known(database_, "SELECT 1 FROM bodies WHERE id = ? AND data IS NULL", id.value_or(-1));
        if (!known.next())
            std::filesystem::remove(entry.path());
    }
}

std::filesystem::path Bodies::fileOf(std::int64_t id) const
{
    return directory_ / std::to_string(id);
}

std::int64_t Bodies::store(BodyWriter& writer)
{
    std::optional<Bytes> data;
    if (writer.file_ < 0)
        data = Bytes{writer.small_};
    Query(
        database_, "INSERT INTO bodies (id, users, length, data) VALUES (?, 1, ?, ?)", writer.id_, writer.length_, data)
        .run();
    writer.isStored_ = true;
    return writer.id_;
}

std::int64_t Bodies::store(std::string_view bytes)
{
    BodyWriter writer(*this);
    writer.add(bytes);
    return store(writer);
}

void Bodies::addUser(std::int64_t body)
{
    Query(database_, "UPDATE bodies SET users = users + 1 WHERE id = ?", body).run();
}

void Bodies::removeUser(std::int64_t body)
{
    Query change(database_, "UPDATE bodies SET users = users - 1 WHERE id = ? RETURNING users, data IS NULL", body);
    if (!change.next() || change.integer(0) > 0)
        return;
    const bool isFile = change.integer(1) != 0;
    while (change.next()) {}
    Query(database_, "DELETE FROM bodies WHERE id = ?", body).run();
    if (isFile)
        unused_.push_back(body);
}

void Bodies::committed()
{
    for (const auto id : unused_)
        ::unlink(fileOf(id).c_str());
    unused_.clear();
}

void Bodies::rolledBack()
{
    unused_.clear();
}

void Bodies::appendSlice(std::vector<Slice>& slices, std::int64_t body, std::int64_t offset, std::int64_t length)
{
    Query found(database_, "SELECT data FROM bodies WHERE id = ?", body);
    if (!found.next())
        throw Failure(500, "internal_error", "The content of this version is gone.");
    Slice slice{.offset = offset, .length = length};
    if (found.isNull(0)) {
        slice.file = fileOf(body);
    } else {
        slice.data = found.text(0).substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(length));
        slice.offset = 0;
    }
    slices.push_back(std::move(slice));
}

SliceReader::SliceReader(std::vector<Slice> slices)
    : slices_(std::move(slices))
{
}

SliceReader::~SliceReader()
{
    if (file_ >= 0)
        ::close(file_);
}

std::size_t SliceReader::read(std::span<char> buffer)
{
    while (index_ < slices_.size() && done_ == slices_[index_].length) {
        if (file_ >= 0)
            ::close(file_);
        file_ = -1;
        done_ = 0;
        ++index_;
    }
    if (index_ == slices_.size() || buffer.empty())
        return 0;
    const auto& slice = slices_[index_];
    const auto wanted = std::min(buffer.size(), static_cast<std::size_t>(slice.length - done_));
    if (slice.file.empty()) {
        std::copy_n(slice.data.data() + done_, wanted, buffer.data());
        done_ += static_cast<std::int64_t>(wanted);
        return wanted;
    }
    if (file_ < 0)
        file_ = ::open(slice.file.c_str(), O_RDONLY | O_CLOEXEC);
    const auto count = file_ < 0 ? -1 : ::pread(file_, buffer.data(), wanted, slice.offset + done_);
    if (count <= 0)
        throw Disconnected();
    done_ += count;
    return static_cast<std::size_t>(count);
}

} // namespace localb2
