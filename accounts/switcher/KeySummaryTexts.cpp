#include "accounts/switcher/KeySummaryTexts.h"

#include "B2Kit/B2Capability.h"
#include "accounts/keys/KeyPermissions.h"
#include "foundation/QtText.h"

#include <QDateTime>
#include <QLocale>
#include <QStringList>

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace {

bool has(const KeySummary& summary, const B2Capability& capability)
{
    return std::ranges::find(summary.capabilities, capability.rawValue) != summary.capabilities.end();
}

bool hasAll(const KeySummary& summary)
{
    return isEveryCapability({summary.capabilities.begin(), summary.capabilities.end()});
}

/// Does the key have only capabilities that change nothing at the service?
bool isReadingOnly(const KeySummary& summary)
{
    return std::ranges::none_of(summary.capabilities, [](const std::string& name) {
        return name.starts_with("write") || name.starts_with("delete") || name.starts_with("bypass");
    });
}

bool canManageKeys(const KeySummary& summary)
{
    return has(summary, B2Capabilities::writeKeys) || has(summary, B2Capabilities::deleteKeys);
}

bool canManageBuckets(const KeySummary& summary)
{
    return has(summary, B2Capabilities::writeBuckets) || has(summary, B2Capabilities::deleteBuckets);
}

std::string bucketText(const KeySummary& summary)
{
    if (summary.bucketCount == 1)
        return summary.bucketNames.empty() ? "1 bucket" : summary.bucketNames.front() + " only";
    return fmt::format("{} buckets", summary.bucketCount);
}

QDate dayOf(std::chrono::milliseconds sinceEpoch)
{
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count()).date();
}

/// The expiry of a key, seen from a point in time.
struct Expiry {
    bool isPast = false;
    qint64 daysLeft = 0; ///< Midnights between now and the expiry.
    QDate day;
};

std::optional<Expiry> expiryOf(const KeySummary& summary, std::chrono::system_clock::time_point now)
{
    if (!summary.expires)
        return std::nullopt;
    const auto moment = std::chrono::floor<std::chrono::milliseconds>(now);
    const QDate day = dayOf(summary.expires->time_since_epoch());
    if (!day.isValid())
        return std::nullopt;
    return Expiry{
        .isPast = *summary.expires <= moment, .daysLeft = dayOf(moment.time_since_epoch()).daysTo(day), .day = day};
}

std::string daysText(const Expiry& expiry)
{
    if (expiry.daysLeft == 0)
        return "Expires today";
    if (expiry.daysLeft == 1)
        return "Expires tomorrow";
    return fmt::format("{} days", expiry.daysLeft);
}

} // namespace

std::string permitsText(const KeySummary& summary, bool isMaster)
{
    if (isMaster || hasAll(summary))
        return "Everything, including managing keys";
    if (isReadingOnly(summary))
        return "Browse and download. Cannot upload, delete or change anything";
    const bool managesKeys = canManageKeys(summary);
    const bool managesBuckets = canManageBuckets(summary);
    std::string text = "Read and write files";
    if (!managesKeys && !managesBuckets)
        text += ". Cannot manage keys or buckets";
    else if (!managesKeys)
        text += ". Cannot manage keys";
    else if (!managesBuckets)
        text += ". Cannot manage buckets";
    return text;
}

std::string reachesText(const KeySummary& summary)
{
    std::string text = summary.bucketCount == 0 ? "All buckets" : bucketText(summary);
    if (summary.namePrefix)
        text += ", names starting with “" + *summary.namePrefix + "”";
    return text;
}

std::optional<std::string> expiresText(const KeySummary& summary, std::chrono::system_clock::time_point now)
{
    if (!summary.expiryKnown)
        return std::nullopt;
    if (!summary.expires)
        return "Never";
    const auto expiry = expiryOf(summary, now);
    if (!expiry)
        return std::nullopt;
    const std::string date = fromQString(QLocale().toString(expiry->day, QLocale::ShortFormat));
    if (expiry->isPast)
        return "Expired " + date + ".";
    return expiry->daysLeft <= nearExpiryDays ? daysText(*expiry) : date;
}

bool expiresSoon(const KeySummary& summary, std::chrono::system_clock::time_point now)
{
    const auto expiry = expiryOf(summary, now);
    return expiry && (expiry->isPast || expiry->daysLeft <= soonExpiryDays);
}

std::optional<std::string> expiryFlag(const KeySummary& summary, std::chrono::system_clock::time_point now)
{
    if (!expiresSoon(summary, now))
        return std::nullopt;
    const auto expiry = expiryOf(summary, now);
    return expiry->isPast ? "Expired" : daysText(*expiry);
}

std::optional<std::string> restrictionText(const KeySummary& summary, bool isMaster)
{
    if (isMaster)
        return std::nullopt;
    std::vector<std::string> parts;
    if (summary.bucketCount > 0)
        parts.push_back(bucketText(summary));
    if (summary.namePrefix)
        parts.push_back("“" + *summary.namePrefix + "”");
    const bool isComplete = has(summary, B2Capabilities::listFiles) && has(summary, B2Capabilities::readFiles)
        && has(summary, B2Capabilities::writeFiles) && has(summary, B2Capabilities::deleteFiles);
    if (isReadingOnly(summary))
        parts.push_back("Read only");
    else if (!isComplete)
        parts.push_back("Limited");
    if (parts.empty())
        return std::nullopt;
    std::string text = parts.front();
    for (auto part = parts.begin() + 1; part != parts.end(); ++part)
        text += " · " + *part;
    return text;
}

std::string abilityText(const KeySummary& summary)
{
    QStringList abilities;
    if (has(summary, B2Capabilities::listFiles))
        abilities.append(QStringLiteral("browse"));
    if (has(summary, B2Capabilities::readFiles))
        abilities.append(QStringLiteral("download"));
    if (has(summary, B2Capabilities::writeFiles))
        abilities.append(QStringLiteral("upload and hide"));
    if (has(summary, B2Capabilities::deleteFiles))
        abilities.append(QStringLiteral("delete"));
    const QString list =
        abilities.isEmpty() ? QStringLiteral("do nothing with files") : QLocale().createSeparatedList(abilities);
    return "This key can " + fromQString(list) + ". Actions it cannot perform are disabled.";
}
