#include "localb2/Core.h"

#include "localb2/Schema.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>

namespace localb2 {

namespace {

std::filesystem::path prepared(const std::filesystem::path& directory)
{
    if (!std::filesystem::exists(directory)) {
        std::filesystem::create_directories(directory);
        std::filesystem::permissions(directory, std::filesystem::perms::owner_all);
    }
    auto file = directory / "localb2.sqlite";
    // It holds the secrets of keys; SQLite gives its other files the same permissions.
    const int created = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (created >= 0)
        ::close(created);
    return file;
}

// Runs after the database is opened and before the first table reads it.
Database& withTables(Database& database)
{
    createTables(database);
    return database;
}

} // namespace

Core::Core(const ServiceOptions& options)
    : recommendedPartSize(options.recommendedPartSize)
    , database(prepared(options.directory))
    , bodies(withTables(database), options.directory / "bodies", options.reckonsMD5)
    , buckets(database)
    , versions(database)
    , keys(database)
    , tokens(database)
{
    settings.latencyMilliseconds = options.latency.count();
}

Milliseconds Core::now() const
{
    const auto time = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(time).count() + settings.clockOffset;
}

} // namespace localb2
