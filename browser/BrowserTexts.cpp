#include "browser/BrowserTexts.h"

#include "foundation/QtText.h"
#include "foundation/Texts.h"

#include <QDateTime>
#include <QLocale>

namespace {

std::string number(std::size_t count)
{
    return fromQString(QLocale().toString(static_cast<qulonglong>(count)));
}

std::string items(std::size_t count)
{
    return countText(static_cast<std::int64_t>(count), "item", "items");
}

QDateTime localTime(std::chrono::system_clock::time_point time)
{
    return QDateTime::fromMSecsSinceEpoch(
        std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count());
}

} // namespace

std::string statusText(const BrowserCounts& counts)
{
    const std::string soFar = counts.hasMore ? " so far" : "";
    if (counts.selected > 0) {
        return number(counts.selected) + " of " + number(counts.shown) + " selected"
            + (counts.selectedBytes ? ", " + sizeText(*counts.selectedBytes) : "");
    }
    if (counts.isFiltered)
        return number(counts.shown) + " of " + items(counts.loaded) + soFar;
    // One row of a longer folder is still one of several.
    return counts.hasMore ? number(counts.loaded) + " items so far" : items(counts.loaded);
}

std::string cachedText(std::chrono::system_clock::time_point fetchedAt, std::chrono::system_clock::time_point now)
{
    const auto fetched = localTime(fetchedAt);
    const bool isToday = fetched.date() == localTime(now).date();
    const QLocale locale;
    return "cached "
        + fromQString(isToday ? locale.toString(fetched.time(), QLocale::ShortFormat)
                              : locale.toString(fetched, QLocale::ShortFormat));
}

std::string filterNote(bool hasMore)
{
    return hasMore ? "The filter looks only at the names loaded so far"
                   : "The filter looks at the names of this folder";
}
