#include "accounts/switcher/views/KeySwitcherRowsModel.h"

#include "foundation/QtText.h"
#include "foundation/views/tables/NameText.h"

#include <algorithm>
#include <utility>

namespace {

QString shown(const std::string& text)
{
    return showableName(toQString(text));
}

bool matches(const KeySwitcherRow& row, const QString& account, const QStringList& words)
{
    const QString text = toQString(row.title) + u'\n' + toQString(row.subtitle.value_or("")) + u'\n' + account + u'\n'
        + toQString(row.key.keyID);
    return std::ranges::all_of(words, [&](const QString& word) { return text.contains(word, Qt::CaseInsensitive); });
}

QString toolTipOf(const KeySwitcherRow& row)
{
    QStringList lines{shown(row.title), toQString(row.key.keyID)};
    if (row.subtitle)
        lines.append(shown(*row.subtitle));
    if (row.expiryFlag)
        lines.append(toQString(*row.expiryFlag));
    // As rich text a tooltip wraps, and no name is read as markup.
    return QStringLiteral("<qt>%1</qt>").arg(lines.join(u'\n').toHtmlEscaped().replace(u'\n', QStringLiteral("<br>")));
}

QString spokenText(const KeySwitcherRow& row)
{
    QStringList parts{shown(row.title)};
    if (row.subtitle)
        parts.append(shown(*row.subtitle));
    if (row.expiryFlag)
        parts.append(toQString(*row.expiryFlag));
    return parts.join(QStringLiteral(", "));
}

} // namespace

void KeySwitcherRowsModel::show(const std::vector<KeySwitcherGroup>& groups)
{
    groups_ = groups;
    rebuild();
}

void KeySwitcherRowsModel::setFilter(const QString& text)
{
    filter_ = text.simplified();
    rebuild();
}

void KeySwitcherRowsModel::rebuild()
{
    const QStringList words = filter_.split(u' ', Qt::SkipEmptyParts);
    std::vector<KeySwitcherEntry> entries;
    for (const auto& group : groups_) {
        const QString title = shown(group.title);
        bool isFirst = true;
        for (const auto& row : group.rows) {
            if (!matches(row, title, words))
                continue;
            if (std::exchange(isFirst, false))
                entries.push_back({"account " + fromQString(title), title, {}});
            entries.push_back({"key " + row.key.keyID, {}, row});
        }
    }
    showRows(std::move(entries));
}

const KeySwitcherRow* KeySwitcherRowsModel::keyAt(const QModelIndex& index) const
{
    if (!index.isValid())
        return nullptr;
    const auto& entry = row(index.row());
    return entry.heading.isEmpty() ? &entry.row : nullptr;
}

QModelIndex KeySwitcherRowsModel::indexOf(const std::string& keyID) const
{
    const int number = rowOf("key " + keyID);
    return number < 0 ? QModelIndex() : index(number);
}

QModelIndex KeySwitcherRowsModel::nextKey(int row, int step) const
{
    for (; row >= 0 && row < rowCount(); row += step) {
        if (keyAt(index(row)))
            return index(row);
    }
    return {};
}

QModelIndex KeySwitcherRowsModel::bestMatch() const
{
    QModelIndex best = nextKey(0, 1);
    qsizetype bestPlace = -1;
    for (int row = 0; row < rowCount(); ++row) {
        const auto* const key = keyAt(index(row));
        const auto place = key ? toQString(key->title).indexOf(filter_, 0, Qt::CaseInsensitive) : -1;
        if (place < 0 || (bestPlace >= 0 && (place > 0 || bestPlace == 0)))
            continue;
        best = index(row);
        bestPlace = place;
    }
    return best;
}

std::size_t KeySwitcherRowsModel::keyCount() const
{
    std::size_t count = 0;
    for (const auto& group : groups_)
        count += group.rows.size();
    return count;
}

QVariant KeySwitcherRowsModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const auto& entry = row(index.row());
    if (!entry.heading.isEmpty()) {
        if (role == headingRole)
            return true;
        return role == Qt::DisplayRole || role == Qt::AccessibleTextRole ? QVariant(entry.heading) : QVariant();
    }
    switch (role) {
    case Qt::DisplayRole:
        return shown(entry.row.title);
    case Qt::AccessibleTextRole:
        return spokenText(entry.row);
    case Qt::ToolTipRole:
        return toolTipOf(entry.row);
    case headingRole:
        return false;
    case subtitleRole:
        return shown(entry.row.subtitle.value_or(""));
    case flagRole:
        return toQString(entry.row.expiryFlag.value_or(""));
    case missingRole:
        return entry.row.isMissing;
    default:
        return {};
    }
}

Qt::ItemFlags KeySwitcherRowsModel::flags(const QModelIndex& index) const
{
    return keyAt(index) ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::NoItemFlags;
}
