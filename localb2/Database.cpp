#include "localb2/Database.h"

#include <sqlite3.h>

#include <stdexcept>

namespace localb2 {

namespace {

[[noreturn]] void fail(sqlite3* connection)
{
    throw std::runtime_error(std::string("The database refused: ") + sqlite3_errmsg(connection));
}

} // namespace

Database::Database(const std::filesystem::path& file)
{
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    if (sqlite3_open_v2(file.c_str(), &connection_, flags, nullptr) != SQLITE_OK) {
        const std::string reason = sqlite3_errmsg(connection_);
        sqlite3_close(connection_);
        throw std::runtime_error("Couldn't open \"" + file.string() + "\": " + reason + ".");
    }
    try {
        // Exclusive: a second service on the directory fails at once instead of sharing it.
        // Synchronous off: data survives a killed process, but not a power cut.
        execute("PRAGMA page_size=8192; PRAGMA locking_mode=EXCLUSIVE; PRAGMA journal_mode=WAL;"
                "PRAGMA synchronous=OFF; PRAGMA wal_autocheckpoint=4000; PRAGMA journal_size_limit=67108864;"
                "PRAGMA cache_size=-16384; PRAGMA temp_store=MEMORY; BEGIN IMMEDIATE; COMMIT;");
    } catch (const std::exception& error) {
        const std::string reason = error.what();
        sqlite3_close(connection_);
        throw std::runtime_error("Couldn't use \"" + file.string() + "\". " + reason + ".");
    }
}

Database::~Database()
{
    for (const auto& [sql, statement] : idle_)
        sqlite3_finalize(statement);
    sqlite3_close(connection_);
}

void Database::execute(const char* statements)
{
    if (sqlite3_exec(connection_, statements, nullptr, nullptr, nullptr) != SQLITE_OK)
        fail(connection_);
}

sqlite3_stmt* Database::take(const char* sql)
{
    if (const auto found = idle_.find(sql); found != idle_.end()) {
        auto* const statement = found->second;
        idle_.erase(found);
        return statement;
    }
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v3(connection_, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) != SQLITE_OK)
        fail(connection_);
    return statement;
}

void Database::giveBack(const char* sql, sqlite3_stmt* statement)
{
    idle_.emplace(sql, statement);
}

Query::~Query()
{
    reset();
    database_.giveBack(sql_, statement_);
}

void Query::reset()
{
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
}

bool Query::next()
{
    const int result = sqlite3_step(statement_);
    if (result == SQLITE_ROW)
        return true;
    if (result != SQLITE_DONE)
        fail(database_.connection_);
    return false;
}

void Query::run()
{
    while (next()) {}
}

std::int64_t Query::integer(int column) const
{
    return sqlite3_column_int64(statement_, column);
}

std::optional<std::int64_t> Query::optionalInteger(int column) const
{
    return isNull(column) ? std::nullopt : std::optional(integer(column));
}

std::string_view Query::text(int column) const
{
    const auto* const bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    return {bytes, bytes ? static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)) : 0};
}

bool Query::isNull(int column) const
{
    return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

void Query::bind(int index, std::int64_t value)
{
    sqlite3_bind_int64(statement_, index, value);
}

// The caller's text is copied: it may be a temporary that ends before the statement runs.
void Query::bind(int index, std::string_view text)
{
    sqlite3_bind_text64(statement_, index, text.data() ? text.data() : "", text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void Query::bind(int index, Bytes bytes)
{
    sqlite3_bind_blob64(
        statement_, index, bytes.view.data() ? bytes.view.data() : "", bytes.view.size(), SQLITE_TRANSIENT);
}

void Query::bind(int index, std::nullptr_t)
{
    sqlite3_bind_null(statement_, index);
}

Transaction::Transaction(Database& database)
    : database_(database)
{
    database_.execute("BEGIN IMMEDIATE");
}

Transaction::~Transaction()
{
    if (!isOpen_)
        return;
    try {
        database_.execute("ROLLBACK");
    } catch (const std::exception&) {
        // Some failures have already ended the transaction.
    }
}

void Transaction::commit()
{
    database_.execute("COMMIT");
    isOpen_ = false;
}

} // namespace localb2
