#include "localb2/Encoding.h"
#include "localb2/Schema.h"
#include "localb2/Seed.h"

#include <fmt/format.h>

#include <array>

#include <random>

namespace localb2 {

namespace {

constexpr std::int64_t versionsOfName = 4;
constexpr Milliseconds year = 365 * Milliseconds{86'400'000};

/// A body that many versions share.
struct SharedBody {
    std::int64_t id = 0;
    std::int64_t length = 0;
    std::string sha1;
    std::string md5;
    std::int64_t users = 0;
};

std::vector<SharedBody> makeBodies(Core& core, std::mt19937& random)
{
    std::vector<SharedBody> bodies;
    for (const std::int64_t length : {0, 12, 180, 700, 2048, 4100, 9000, 16384, 25000, 40000}) {
        std::string bytes(static_cast<std::size_t>(length), '\0');
        for (auto& byte : bytes)
            byte = static_cast<char>('a' + random() % 26);
        const auto digests = Digests::of(bytes);
        bodies.push_back({core.bodies.store(bytes), length, digests.sha1, digests.md5});
    }
    return bodies;
}

} // namespace

void plantBig(Core& core, const std::string& accountID, std::int64_t versionCount)
{
    std::mt19937 random(20260305);
    auto bodies = makeBodies(core, random);
    Bucket bucket{.id = randomHex(24), .accountID = accountID, .name = "big-archive", .type = "allPrivate"};
    core.buckets.insert(bucket);
    dropVersionIndex(core.database);

    const auto start = core.nowInSeconds() - 2 * year;
    FileVersion version{.bucket = bucket.row};
    version.encryption.mode = Encryption::Mode::managed;
    for (std::int64_t i = 0; i < versionCount; ++i) {
        const auto name = i / versionsOfName;
        if (i % versionsOfName == 0) {
            const auto folder = 2015 + name / 50000;
            version.name = fmt::format(
                "archive/{}/{:02}/{:02}/item-{:07}.dat", folder, name / 4167 % 12 + 1, name / 149 % 28 + 1, name);
            version.type = "application/octet-stream";
            version.time = start + name % 1'000'000 * 1000;
        }
        auto& body = bodies[random() % bodies.size()];
        ++body.users;
        version.time += 86'400'000 * (1 + static_cast<std::int64_t>(random() % 90));
        version.info = fmt::format(R"({{"src_last_modified_millis":"{}"}})", version.time - 5'000);
        version.length = body.length;
        version.sha1 = body.sha1;
        version.md5 = body.md5;
        version.body = body.id;
        core.versions.insert(version);
    }
    createVersionIndex(core.database);
    for (const auto& body : bodies)
        Query(core.database, "UPDATE bodies SET users = users + ? WHERE id = ?", body.users - 1, body.id).run();
}

} // namespace localb2
