#pragma once

#include "localb2/Bodies.h"
#include "localb2/BucketTable.h"
#include "localb2/Database.h"
#include "localb2/Faults.h"
#include "localb2/Journal.h"
#include "localb2/KeyTable.h"
#include "localb2/Service.h"
#include "localb2/Stop.h"
#include "localb2/Tokens.h"
#include "localb2/VersionTable.h"

#include <atomic>
#include <mutex>
#include <string>

namespace localb2 {

/// Options that can be changed while the service runs.
struct Settings {
    std::atomic<std::int64_t> latencyMilliseconds = 0;
    std::atomic<std::int64_t> clockOffset = 0; ///< Milliseconds added to the system's clock.
    bool areKeysJoined = false;                ///< v4 key calls serve every key.
    std::string wrongKeyCode = "unauthorized";
    bool areMarkerHashesNull = false;
    std::int64_t metadataLimit = 2048; ///< For an encrypted version, or in a bucket with Object Lock.
    double testModeRate = 0.1;         ///< How often a test mode strikes.
};

/// The state that the calls work on.
///
/// Hold `mutex` to touch the database, tables, tokens or settings. Never hold it while reading or writing a
/// connection, or while copying a body.
struct Core {
    explicit Core(const ServiceOptions& options);

    Milliseconds now() const;
    /// B2 shows upload times in whole seconds.
    Milliseconds nowInSeconds() const { return now() / 1000 * 1000; }

    std::string baseURL; ///< Set once the port is known.
    Settings settings;
    const std::int64_t recommendedPartSize;
    std::mutex mutex;
    Database database;
    Bodies bodies;
    BucketTable buckets;
    VersionTable versions;
    KeyTable keys;
    Tokens tokens;
    Faults faults;
    Journal journal;
    Stop stop;
};

/// A transaction that also settles which bodies are no longer used.
class Change {
public:
    explicit Change(Core& core)
        : core_(core)
        , transaction_(core.database)
    {
    }
    ~Change()
    {
        if (!isDone_)
            core_.bodies.rolledBack();
    }

    void commit()
    {
        transaction_.commit();
        isDone_ = true;
        core_.bodies.committed();
    }

private:
    Core& core_;
    Transaction transaction_;
    bool isDone_ = false;
};

} // namespace localb2
