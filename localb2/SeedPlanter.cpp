#include "localb2/SeedPlanter.h"

#include "localb2/Encoding.h"

namespace localb2 {

SeedPlanter::SeedPlanter(Core& core, std::string accountID)
    : core_(core)
    , accountID_(std::move(accountID))
    , now_(core.nowInSeconds())
{
}

Milliseconds SeedPlanter::daysAgo(std::int64_t days, std::int64_t salt) const
{
    const auto seconds = (salt * 7919 + days * 104729) % 86'000;
    return now_ - days * day - seconds * 1000;
}

Bucket SeedPlanter::addBucket(Bucket bucket)
{
    bucket.id = randomHex(24);
    bucket.accountID = accountID_;
    core_.buckets.insert(bucket);
    return bucket;
}

SeedPlanter::Kept SeedPlanter::keep(const std::string& bytes)
{
    const auto hashes = Digests::of(bytes);
    const auto [found, isNew] = kept_.try_emplace(hashes.sha1);
    if (isNew)
        found->second = {core_.bodies.store(bytes), hashes};
    else
        core_.bodies.addUser(found->second.body);
    return found->second;
}

FileVersion SeedPlanter::versionOf(const Bucket& bucket, const File& file) const
{
    FileVersion version{.bucket = bucket.row, .name = file.name, .time = file.time};
    version.type = resolvedType(file.type, file.name);
    version.info = infoJSON(file.info);
    version.encryption.mode = bucket.isManagedEncryption ? Encryption::Mode::managed : Encryption::Mode::none;
    version.retention = file.retention;
    version.hold = file.hold;
    return version;
}

void SeedPlanter::addFile(const Bucket& bucket, const File& file)
{
    const auto kept = keep(file.bytes);
    auto version = versionOf(bucket, file);
    version.length = static_cast<std::int64_t>(file.bytes.size());
    version.sha1 = kept.hashes.sha1;
    version.md5 = kept.hashes.md5;
    version.body = kept.body;
    core_.versions.insert(version);
}

void SeedPlanter::hide(const Bucket& bucket, std::string_view name, Milliseconds time)
{
    auto marker = hideMarker(bucket, name, time);
    core_.versions.insert(marker);
}

void SeedPlanter::addLargeFile(
    const Bucket& bucket, const File& file, const std::vector<int>& partNumbers, bool isFinished)
{
    auto version = versionOf(bucket, file);
    version.kind = isFinished ? FileVersion::Kind::upload : FileVersion::Kind::start;
    version.isLarge = true;
    version.sha1 = "none";
    const auto length = static_cast<std::int64_t>(file.bytes.size());
    if (isFinished)
        version.length = length * static_cast<std::int64_t>(partNumbers.size());
    core_.versions.insert(version);
    for (const int number : partNumbers) {
        const auto kept = keep(file.bytes);
        const auto started = file.time + number * 30'000;
        core_.versions.insertPart({.file = version.sequence,
            .number = number,
            .length = length,
            .sha1 = kept.hashes.sha1,
            .md5 = kept.hashes.md5,
            .started = started,
            .finished = started + 21'337,
            .body = kept.body});
    }
}

Key SeedPlanter::addKey(Key key)
{
    key.accountID = accountID_;
    core_.keys.insert(key);
    return key;
}

} // namespace localb2
