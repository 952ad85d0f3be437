#pragma once

namespace localb2 {

class Database;

/// Creates the tables of a fresh database.
///
/// @throws std::runtime_error for a database of a newer format.
void createTables(Database& database);

/// Builds the indexes that a mass insertion leaves for the end, where they are cheaper.
void dropVersionIndex(Database& database);
void createVersionIndex(Database& database);

} // namespace localb2
