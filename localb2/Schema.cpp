#include "localb2/Schema.h"

#include "localb2/Database.h"

#include <stdexcept>

namespace localb2 {

namespace {

constexpr int format = 1;

// A version's place is its negated sequence, so that the primary key reads as listings do: names by their bytes,
// then newest first.
constexpr const char* tables = R"(
CREATE TABLE accounts (id TEXT PRIMARY KEY, email TEXT NOT NULL);
CREATE TABLE keys (
    id TEXT PRIMARY KEY, account TEXT NOT NULL, secret TEXT NOT NULL, name TEXT NOT NULL, capabilities TEXT NOT NULL,
    buckets TEXT, prefix TEXT, expires INTEGER, master INTEGER NOT NULL);
CREATE TABLE serials (account TEXT PRIMARY KEY, value INTEGER NOT NULL);
CREATE TABLE tokens (
    token TEXT PRIMARY KEY, kind INTEGER NOT NULL, key TEXT NOT NULL, expires INTEGER NOT NULL,
    target TEXT NOT NULL, prefix TEXT NOT NULL, overrides TEXT NOT NULL) WITHOUT ROWID;
CREATE TABLE buckets (
    row INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT UNIQUE NOT NULL, account TEXT NOT NULL,
    name TEXT UNIQUE COLLATE NOCASE NOT NULL,
    type TEXT NOT NULL, revision INTEGER NOT NULL, info TEXT NOT NULL, cors TEXT NOT NULL, lifecycle TEXT NOT NULL,
    replication TEXT NOT NULL, encrypted INTEGER NOT NULL, locked INTEGER NOT NULL, retention INTEGER NOT NULL,
    duration INTEGER NOT NULL, unit TEXT NOT NULL);
CREATE TABLE bodies (id INTEGER PRIMARY KEY, users INTEGER NOT NULL, length INTEGER NOT NULL, data BLOB);
CREATE TABLE versions (
    bucket INTEGER NOT NULL, name BLOB NOT NULL, place INTEGER NOT NULL,
    kind INTEGER NOT NULL, large INTEGER NOT NULL, time INTEGER NOT NULL, length INTEGER NOT NULL,
    sha1 TEXT NOT NULL, md5 TEXT NOT NULL, type TEXT NOT NULL, info TEXT NOT NULL,
    encryption INTEGER NOT NULL, keyMD5 TEXT NOT NULL,
    retention INTEGER NOT NULL, until INTEGER NOT NULL, hold INTEGER NOT NULL, body INTEGER,
    PRIMARY KEY (bucket, name, place)) WITHOUT ROWID;
CREATE TABLE parts (
    file INTEGER NOT NULL, number INTEGER NOT NULL, length INTEGER NOT NULL, sha1 TEXT NOT NULL, md5 TEXT NOT NULL,
    started INTEGER NOT NULL, finished INTEGER NOT NULL, body INTEGER NOT NULL,
    PRIMARY KEY (file, number)) WITHOUT ROWID;
CREATE INDEX unfinished ON versions (bucket, name, time, place) WHERE kind = 1;
)";

} // namespace

void createTables(Database& database)
{
    Query version(database, "PRAGMA user_version");
    version.next();
    const auto found = version.integer(0);
    while (version.next()) {}
    if (found > format)
        throw std::runtime_error("The directory was written by a newer localb2.");
    if (found == format)
        return;
    Transaction transaction(database);
    database.execute(tables);
    createVersionIndex(database);
    database.execute("PRAGMA user_version = 1");
    transaction.commit();
}

void dropVersionIndex(Database& database)
{
    database.execute("DROP INDEX versionsByPlace");
}

void createVersionIndex(Database& database)
{
    database.execute("CREATE UNIQUE INDEX versionsByPlace ON versions (place)");
}

} // namespace localb2
