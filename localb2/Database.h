#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace localb2 {

/// Text that SQLite compares byte by byte, whatever its content.
struct Bytes {
    std::string_view view;
};

/// One SQLite connection with its prepared statements. Not thread-safe: its owner holds the lock.
class Database {
public:
    /// @throws std::runtime_error when the file is not a database of this service, or another process is using it.
    explicit Database(const std::filesystem::path& file);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void execute(const char* statements);

private:
    friend class Query;
    sqlite3_stmt* take(const char* sql);
    void giveBack(const char* sql, sqlite3_stmt* statement);

    sqlite3* connection_ = nullptr;
    // Keyed by the address of the literal, so that looking up a statement compares pointers only.
    std::multimap<const char*, sqlite3_stmt*> idle_;
};

/// One run of a prepared statement, with its values bound in order.
///
/// Text columns are valid until the next step.
class Query {
public:
    template <typename... Values>
    Query(Database& database, const char* literal, const Values&... values)
        : database_(database)
        , sql_(literal)
        , statement_(database.take(literal))
    {
        int index = 0;
        (bind(++index, values), ...);
    }
    ~Query();
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    /// Starts over with other values.
    template <typename... Values>
    void restart(const Values&... values)
    {
        reset();
        int index = 0;
        (bind(++index, values), ...);
    }

    /// Moves to the next row; false after the last.
    bool next();

    /// Runs a statement that returns no rows.
    void run();

    std::int64_t integer(int column) const;
    std::optional<std::int64_t> optionalInteger(int column) const;
    std::string_view text(int column) const;
    bool isNull(int column) const;

private:
    void reset();
    void bind(int index, std::int64_t value);
    void bind(int index, int value) { bind(index, static_cast<std::int64_t>(value)); }
    void bind(int index, bool value) { bind(index, static_cast<std::int64_t>(value)); }
    void bind(int index, std::string_view text);
    void bind(int index, const std::string& text) { bind(index, std::string_view(text)); }
    void bind(int index, const char* text) { bind(index, std::string_view(text)); }
    void bind(int index, Bytes bytes);
    void bind(int index, std::nullptr_t);
    template <typename Value>
    void bind(int index, const std::optional<Value>& value)
    {
        if (value)
            bind(index, *value);
        else
            bind(index, nullptr);
    }

    Database& database_;
    const char* sql_;
    sqlite3_stmt* statement_;
};

/// Rolls back unless committed.
class Transaction {
public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void commit();

private:
    Database& database_;
    bool isOpen_ = true;
};

} // namespace localb2
