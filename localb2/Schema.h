#pragma once

namespace localb2 {

class Database;

/// Creates the tables of a fresh database.
///
/// @throws std::runtime_error for a database of a newer format.
void createTables(Database& database);

/// What a mass insertion leaves for the end: indexes that are cheaper built at once.
void dropVersionIndex(Database& database);
void createVersionIndex(Database& database);

} // namespace localb2
