#include "foundation/log/LogEntry.h"

#include "foundation/QtText.h"
#include "foundation/Texts.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <fmt/format.h>

namespace {

/// 2001-01-01 00:00:00 UTC, from which the files count.
constexpr std::chrono::system_clock::time_point referenceDate =
    std::chrono::sys_days(std::chrono::year(2001) / std::chrono::January / 1);

/// A date more than 250 years away is invalid; the range of the clock ends soon after.
constexpr double maxReferenceSeconds = 8e9;

std::string upperCased(std::string_view text)
{
    std::string upper(text);
    for (char& letter : upper) {
        if (letter >= 'a' && letter <= 'z')
            letter = static_cast<char>(letter - 'a' + 'A');
    }
    return upper;
}

/// Returns the detail with each line made safe, and all of them indented like the first.
std::string indentedDetail(std::string_view detail)
{
    std::string text;
    for (;;) {
        const auto end = std::min(detail.find('\n'), detail.size());
        auto line = detail.substr(0, end);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        text += "\n    " + singleLine(line);
        if (end == detail.size())
            return text;
        detail.remove_prefix(end + 1);
    }
}

std::optional<LogEntry> entryFrom(const QJsonObject& record)
{
    const auto id = QUuid::fromString(record[QLatin1String("id")].toString());
    const auto date = record[QLatin1String("date")];
    const auto level = record[QLatin1String("level")].toInteger(-1);
    const auto category = record[QLatin1String("category")];
    const auto message = record[QLatin1String("message")];
    const auto detail = record[QLatin1String("detail")];
    const bool isWhole = !id.isNull() && date.isDouble() && std::abs(date.toDouble()) < maxReferenceSeconds
        && level >= 0 && level <= 4 && category.isString() && message.isString()
        && (detail.isString() || detail.isNull() || detail.isUndefined());
    if (!isWhole)
        return std::nullopt;
    LogEntry entry;
    entry.id = id;
    entry.date = referenceDate
        + std::chrono::round<std::chrono::system_clock::duration>(std::chrono::duration<double>(date.toDouble()));
    entry.level = static_cast<B2LogLevel>(level);
    entry.category = fromQString(category.toString());
    entry.message = fromQString(message.toString());
    if (detail.isString())
        entry.detail = fromQString(detail.toString());
    return entry;
}

} // namespace

LogEntry::LogEntry(B2LogEvent event)
    : id(QUuid::createUuid())
    , date(std::chrono::system_clock::now())
    , level(event.level)
    , category(std::move(event.category))
    , message(std::move(event.message))
    , detail(std::move(event.detail))
{
}

std::string LogEntry::formattedDate() const
{
    const auto whole = std::chrono::floor<std::chrono::seconds>(date);
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(date - whole).count();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(whole);
    std::tm local{};
    ::localtime_r(&seconds, &local);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}.{:03}", local.tm_year + 1900, local.tm_mon + 1,
        local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, milliseconds);
}

std::string LogEntry::formatted() const
{
    auto line = fmt::format("{}  {:<7}  [{}]  {}", formattedDate(), upperCased(displayName(level)),
        singleLine(category), singleLine(message));
    if (detail && !detail->empty())
        line += indentedDetail(*detail);
    return line;
}

std::string encodeLogLine(const LogEntry& entry)
{
    const std::chrono::duration<double> sinceReference = entry.date - referenceDate;
    QJsonObject record{
        {QStringLiteral("id"), entry.id.toString(QUuid::WithoutBraces).toUpper()},
        {QStringLiteral("date"), sinceReference.count()},
        {QStringLiteral("level"), static_cast<int>(entry.level)},
        {QStringLiteral("category"), toQString(entry.category)},
        {QStringLiteral("message"), toQString(entry.message)},
    };
    if (entry.detail && !entry.detail->empty())
        record.insert(QStringLiteral("detail"), toQString(*entry.detail));
    return QJsonDocument(record).toJson(QJsonDocument::Compact).toStdString();
}

std::optional<LogEntry> decodeLogLine(std::string_view line)
{
    const auto raw = QByteArray::fromRawData(line.data(), static_cast<qsizetype>(line.size()));
    const auto document = QJsonDocument::fromJson(raw);
    return document.isObject() ? entryFrom(document.object()) : std::nullopt;
}
