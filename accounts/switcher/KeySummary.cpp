#include "accounts/switcher/KeySummary.h"

#include "accounts/KeyNames.h"
#include "foundation/QtText.h"
#include "foundation/settings/SettingsKeys.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace {

constexpr double largestDate = 1e15; ///< Milliseconds; far beyond any key's life and exact as a number of JSON.

std::vector<std::string> namesOf(const std::set<B2Capability>& capabilities)
{
    std::vector<std::string> names;
    for (const auto& capability : capabilities)
        names.push_back(capability.rawValue);
    std::ranges::sort(names);
    return names;
}

std::optional<KeySummary::Date> dateOf(const std::optional<std::int64_t>& milliseconds)
{
    if (!milliseconds)
        return std::nullopt;
    return KeySummary::Date(std::chrono::milliseconds(*milliseconds));
}

std::optional<std::string> nonEmpty(const std::optional<std::string>& text)
{
    return text && !text->empty() ? text : std::nullopt;
}

QJsonArray toJSON(const std::vector<std::string>& texts)
{
    QJsonArray array;
    for (const auto& text : texts)
        array.append(toQString(text));
    return array;
}

QJsonObject toJSON(const KeySummary& summary)
{
    QJsonObject object{{QStringLiteral("capabilities"), toJSON(summary.capabilities)},
        {QStringLiteral("bucketNames"), toJSON(summary.bucketNames)},
        {QStringLiteral("bucketCount"), summary.bucketCount}, {QStringLiteral("expiryKnown"), summary.expiryKnown}};
    if (summary.namePrefix)
        object.insert(QStringLiteral("namePrefix"), toQString(*summary.namePrefix));
    if (summary.expires)
        object.insert(QStringLiteral("expires"), static_cast<double>(summary.expires->time_since_epoch().count()));
    if (summary.region)
        object.insert(QStringLiteral("region"), toQString(*summary.region));
    return object;
}

std::optional<std::vector<std::string>> textsIn(const QJsonValue& value)
{
    if (!value.isArray())
        return std::nullopt;
    std::vector<std::string> texts;
    for (const auto& element : value.toArray()) {
        if (!element.isString())
            return std::nullopt;
        texts.push_back(fromQString(element.toString()));
    }
    return texts;
}

std::optional<KeySummary> summaryIn(const QJsonValue& value)
{
    const QJsonObject object = value.toObject();
    const auto capabilities = textsIn(object.value(QStringLiteral("capabilities")));
    const auto bucketNames = textsIn(object.value(QStringLiteral("bucketNames")));
    const int bucketCount = object.value(QStringLiteral("bucketCount")).toInt(-1);
    const QJsonValue expiryKnown = object.value(QStringLiteral("expiryKnown"));
    if (!capabilities || !bucketNames || bucketCount < 0 || !expiryKnown.isBool())
        return std::nullopt;
    KeySummary summary{.capabilities = *capabilities,
        .bucketNames = *bucketNames,
        .bucketCount = bucketCount,
        .expiryKnown = expiryKnown.toBool()};
    const auto optionalText = [&](const QString& key, std::optional<std::string>& field) {
        const QJsonValue text = object.value(key);
        if (text.isString())
            field = fromQString(text.toString());
        return text.isString() || text.isUndefined() || text.isNull();
    };
    const QJsonValue expires = object.value(QStringLiteral("expires"));
    if (expires.isDouble() && std::abs(expires.toDouble()) <= largestDate)
        summary.expires = dateOf(static_cast<std::int64_t>(expires.toDouble()));
    else if (!expires.isUndefined() && !expires.isNull())
        return std::nullopt;
    if (!optionalText(QStringLiteral("namePrefix"), summary.namePrefix)
        || !optionalText(QStringLiteral("region"), summary.region))
        return std::nullopt;
    return summary;
}

} // namespace

KeySummary keySummary(
    const B2ApplicationKey& record, const BucketNames& bucketNames, const std::optional<std::string>& region)
{
    KeySummary summary{.capabilities = namesOf(record.capabilities),
        .bucketCount = static_cast<int>(record.bucketIDs.size()),
        .namePrefix = nonEmpty(record.namePrefix),
        .expires = dateOf(record.expirationTimestamp),
        .expiryKnown = true,
        .region = region};
    for (const auto& bucketID : record.bucketIDs) {
        if (const auto name = bucketNames.find(bucketID); name != bucketNames.end())
            summary.bucketNames.push_back(name->second);
    }
    return summary;
}

KeySummary keySummary(const B2Authorization& authorization)
{
    const auto& allowed = authorization.storage.allowed;
    KeySummary summary{.capabilities = namesOf(allowed.capabilities),
        .bucketCount = static_cast<int>(allowed.buckets.size()),
        .namePrefix = nonEmpty(allowed.namePrefix),
        .expires = dateOf(authorization.applicationKeyExpirationTimestamp),
        .region = regionOf(authorization.storage.s3URL)};
    // A sign-in without a date may merely omit it.
    summary.expiryKnown = summary.expires.has_value();
    for (const auto& bucket : allowed.buckets) {
        if (bucket.name)
            summary.bucketNames.push_back(*bucket.name);
    }
    return summary;
}

KeySummaries updatedSummaries(KeySummaries known, const KeySummarySources& sources)
{
    if (sources.keys.empty())
        return known;
    const auto region =
        sources.authorization ? regionOf(sources.authorization->storage.s3URL) : std::optional<std::string>();
    KeySummaries updated;
    for (const auto& key : sources.keys) {
        if (const auto live = sources.liveKeys.find(key.keyID); live != sources.liveKeys.end()) {
            KeySummary summary = keySummary(live->second, sources.bucketNames, region);
            // A key never changes, so a session that lists no buckets does not remove their names.
            if (const auto old = known.find(key.keyID);
                old != known.end() && old->second.bucketNames.size() > summary.bucketNames.size())
                summary.bucketNames = old->second.bucketNames;
            updated.emplace(key.keyID, std::move(summary));
        } else if (sources.authorization && sources.sessionKeyID == key.keyID) {
            updated.emplace(key.keyID, keySummary(*sources.authorization));
        } else if (auto old = known.extract(key.keyID); !old.empty()) {
            updated.insert(std::move(old));
        }
    }
    return updated;
}

KeySummaries cachedSummaries(const Settings& settings)
{
    KeySummaries summaries;
    const auto stored = settings.bytes(SettingsKeys::keySummaries);
    if (!stored)
        return summaries;
    const QJsonObject object = QJsonDocument::fromJson(QByteArray::fromStdString(*stored)).object();
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        if (auto summary = summaryIn(entry.value()))
            summaries.emplace(fromQString(entry.key()), std::move(*summary));
    }
    return summaries;
}

void cacheSummaries(Settings& settings, const KeySummaries& summaries)
{
    QJsonObject object;
    for (const auto& [keyID, summary] : summaries)
        object.insert(toQString(keyID), toJSON(summary));
    settings.setBytes(SettingsKeys::keySummaries, QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString());
}
