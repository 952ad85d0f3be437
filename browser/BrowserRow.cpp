#include "browser/BrowserRow.h"

#include "browser/PrefixPath.h"
#include "foundation/QtText.h"

#include <chrono>

namespace {

RowKind kindOf(const B2FileVersion& file)
{
    if (file.isFolder())
        return RowKind::folder;
    if (file.isHideMarker())
        return RowKind::hidden;
    if (file.isUnfinished())
        return RowKind::unfinished;
    // At the root of a bucket it keeps no folder listed, so there it is a file like any other.
    return file.fileName.ends_with("/.bzEmpty") ? RowKind::placeholder : RowKind::file;
}

} // namespace

std::string modeName(BrowserMode mode)
{
    return mode == BrowserMode::current ? "Current" : "All Versions";
}

BrowserRow makeRow(B2FileVersion file)
{
    BrowserRow row;
    row.id = file.id();
    row.name = lastComponent(file.fileName);
    row.foldedName = folded(row.name);
    row.nameKey = naturalSortKey(row.name);
    row.kind = kindOf(file);
    row.modified = file.uploadTimestamp;
    if (const auto recorded = file.lastModified())
        row.modified = std::chrono::floor<std::chrono::milliseconds>(recorded->time_since_epoch()).count();
    row.file = std::move(file);
    return row;
}

std::string folded(const std::string& text)
{
    return fromQString(toQString(text).toCaseFolded());
}
