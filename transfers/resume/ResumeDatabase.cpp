#include "transfers/resume/ResumeDatabase.h"

#include "foundation/Paths.h"

#include <sqlite3.h>

#include <cerrno>
#include <fcntl.h>
#include <stdexcept>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int schemaVersion = 1;
constexpr int patienceMilliseconds = 5000;

class Failure : public std::runtime_error {
public:
    explicit Failure(sqlite3* connection)
        : Failure(sqlite3_errmsg(connection), sqlite3_errcode(connection))
    {
    }
    Failure(const std::string& reason, int code)
        : std::runtime_error(reason)
        , code_(code)
    {
    }

    /// Is the file itself damaged, so that another attempt cannot help?
    bool isDamage() const { return code_ == SQLITE_NOTADB || code_ == SQLITE_CORRUPT || code_ == SQLITE_ERROR; }

private:
    int code_;
};

class Statement {
public:
    Statement(sqlite3* connection, const char* sql)
        : connection_(connection)
    {
        if (sqlite3_prepare_v2(connection, sql, -1, &statement_, nullptr) != SQLITE_OK)
            throw Failure(connection);
    }
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement&) = delete;

    void bind(std::string_view text)
    {
        sqlite3_bind_text64(
            statement_, ++bound_, text.data() ? text.data() : "", text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    }
    /// Paths are stored as bytes: they need not be valid text.
    void bindPath(const std::filesystem::path& path)
    {
        const auto& bytes = path.native();
        sqlite3_bind_blob64(statement_, ++bound_, bytes.data(), bytes.size(), SQLITE_TRANSIENT);
    }
    void bind(std::int64_t number) { sqlite3_bind_int64(statement_, ++bound_, number); }
    void bind(std::chrono::system_clock::time_point date) { bind(nanosecondsOf(date)); }

    /// Moves to the next row; false after the last.
    bool next()
    {
        const int result = sqlite3_step(statement_);
        if (result != SQLITE_ROW && result != SQLITE_DONE)
            throw Failure(connection_);
        return result == SQLITE_ROW;
    }

    // The columns of a row, in their order.
    std::string text()
    {
        const auto* const bytes = static_cast<const char*>(sqlite3_column_blob(statement_, read_));
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_, read_++));
        return bytes ? std::string(bytes, size) : std::string();
    }
    std::int64_t number() { return sqlite3_column_int64(statement_, read_++); }
    std::chrono::system_clock::time_point date()
    {
        using Clock = std::chrono::system_clock;
        return Clock::time_point(std::chrono::duration_cast<Clock::duration>(std::chrono::nanoseconds(number())));
    }
    void startRow() { read_ = 0; }

private:
    static std::int64_t nanosecondsOf(std::chrono::system_clock::time_point date)
    {
        return std::chrono::duration_cast<std::chrono::nanoseconds>(date.time_since_epoch()).count();
    }

    sqlite3* connection_;
    sqlite3_stmt* statement_ = nullptr;
    int bound_ = 0;
    int read_ = 0;
};

void execute(sqlite3* connection, const char* statements)
{
    if (sqlite3_exec(connection, statements, nullptr, nullptr, nullptr) != SQLITE_OK)
        throw Failure(connection);
}

/// Lets one program at a time open the file. Otherwise a second one could set aside the new file of the first.
class OpeningLock {
public:
    explicit OpeningLock(const std::filesystem::path& directory)
        : descriptor_(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        // File systems without such locks are opened without one.
        if (descriptor_ >= 0)
            ::flock(descriptor_, LOCK_EX);
    }
    ~OpeningLock()
    {
        if (descriptor_ >= 0)
            ::close(descriptor_);
    }
    OpeningLock(const OpeningLock&) = delete;

private:
    int descriptor_;
};

[[noreturn]] void fail(int error)
{
    throw std::runtime_error(std::error_code(error, std::generic_category()).message());
}

/// Moves the damaged file and its journal to a free name beside it.
void setAside(const std::filesystem::path& file)
{
    for (int number = 1;; ++number) {
        auto target = file;
        target += ".damaged-" + std::to_string(number);
        struct stat status{};
        if (::lstat(target.c_str(), &status) == 0)
            continue;
        if (::rename(file.c_str(), target.c_str()) != 0)
            fail(errno);
        // A journal left behind would be replayed into the new file.
        ::rename((file.native() + "-journal").c_str(), (target.native() + "-journal").c_str());
        return;
    }
}

/// Creates an empty file that only the owner can read, or restricts an existing one to the owner.
void prepareFile(const std::filesystem::path& file)
{
    struct stat status{};
    if (::stat(file.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
        setAside(file);
    const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (descriptor >= 0) {
        ::close(descriptor);
        return;
    }
    // Not opened here: closing it would drop the locks of another connection of this process.
    if (errno != EEXIST)
        fail(errno);
    ::chmod(file.c_str(), 0600);
}

sqlite3* connect(const std::filesystem::path& file)
{
    sqlite3* connection = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    if (sqlite3_open_v2(file.c_str(), &connection, flags, nullptr) != SQLITE_OK) {
        const Failure failure(connection);
        sqlite3_close(connection);
        throw failure;
    }
    return connection;
}

constexpr const char* selectAll = "SELECT fileID, bucketID, remoteName, byteCount, sourcePath, startedAt, "
                                  "sourceByteCount, sourceModificationDate, sha1 FROM resumableUpload";

void prepareSchema(sqlite3* connection)
{
    sqlite3_busy_timeout(connection, patienceMilliseconds);
    // "Extra" also syncs the removal of the journal, which is the commit, before a change counts as written.
    execute(connection, "PRAGMA journal_mode=DELETE; PRAGMA synchronous=EXTRA;");
    Statement versionQuery(connection, "PRAGMA user_version");
    const auto version = versionQuery.next() ? versionQuery.number() : 0;
    if (version > schemaVersion)
        throw std::runtime_error("it was written by a newer version of Kestrovan");
    if (version < schemaVersion) {
        execute(connection,
            "BEGIN IMMEDIATE;"
            "CREATE TABLE IF NOT EXISTS resumableUpload (fileID TEXT PRIMARY KEY NOT NULL, bucketID TEXT NOT NULL,"
            " remoteName TEXT NOT NULL, byteCount INTEGER NOT NULL, sourcePath BLOB NOT NULL,"
            " startedAt INTEGER NOT NULL, sourceByteCount INTEGER NOT NULL, sourceModificationDate INTEGER NOT NULL,"
            " sha1 TEXT NOT NULL) WITHOUT ROWID;"
            "PRAGMA user_version=1; COMMIT;");
    }
    const Statement shape(connection, selectAll);
    Statement check(connection, "PRAGMA quick_check(1)");
    if (check.next() && check.text() != "ok")
        throw Failure("the file is damaged", SQLITE_CORRUPT);
}

} // namespace

void ResumeDatabase::Close::operator()(sqlite3* connection) const
{
    sqlite3_close(connection);
}

ResumeDatabase::ResumeDatabase(const std::filesystem::path& file)
{
    if (const auto error = makePrivateDirectory(file.parent_path()))
        throw std::runtime_error(error.message());
    const OpeningLock lock(file.parent_path());
    prepareFile(file);
    try {
        connection_.reset(connect(file));
        prepareSchema(connection_.get());
        return;
    } catch (const Failure& failure) {
        connection_.reset();
        if (!failure.isDamage())
            throw;
    }
    setAside(file);
    prepareFile(file);
    connection_.reset(connect(file));
    prepareSchema(connection_.get());
}

ResumeDatabase::~ResumeDatabase() = default;

std::vector<ResumableUpload> ResumeDatabase::uploads()
{
    std::vector<ResumableUpload> all;
    Statement query(connection_.get(), selectAll);
    while (query.next()) {
        query.startRow();
        ResumableUpload upload;
        upload.fileID = query.text();
        upload.bucketID = query.text();
        upload.remoteName = query.text();
        upload.byteCount = query.number();
        upload.source.path = query.text();
        upload.startedAt = query.date();
        upload.source.byteCount = query.number();
        upload.source.modificationDate = query.date();
        upload.sha1 = query.text();
        all.push_back(std::move(upload));
    }
    return all;
}

void ResumeDatabase::add(const ResumableUpload& upload)
{
    Statement insert(connection_.get(), "INSERT OR IGNORE INTO resumableUpload VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)");
    insert.bind(upload.fileID);
    insert.bind(upload.bucketID);
    insert.bind(upload.remoteName);
    insert.bind(upload.byteCount);
    insert.bindPath(upload.source.path);
    insert.bind(upload.startedAt);
    insert.bind(upload.source.byteCount);
    insert.bind(upload.source.modificationDate);
    insert.bind(upload.sha1);
    insert.next();
}

void ResumeDatabase::remove(const std::string& fileID)
{
    Statement deletion(connection_.get(), "DELETE FROM resumableUpload WHERE fileID = ?");
    deletion.bind(fileID);
    deletion.next();
}
