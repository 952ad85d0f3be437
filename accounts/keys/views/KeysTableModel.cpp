#include "accounts/keys/views/KeysTableModel.h"

#include "foundation/QtText.h"
#include "foundation/Texts.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/tables/TableColumns.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace {

const std::string& idOf(const KeyRow& row)
{
    return row.key.applicationKeyID;
}

QString titleOf(KeyColumn column)
{
    switch (column) {
    case KeyColumn::name:
        return KeysTableModel::tr("Name");
    case KeyColumn::relation:
        return KeysTableModel::tr("Kestrovan");
    case KeyColumn::permissions:
        return KeysTableModel::tr("Permissions");
    case KeyColumn::reach:
        return KeysTableModel::tr("Reach");
    case KeyColumn::expires:
        return KeysTableModel::tr("Expires");
    case KeyColumn::keyID:
        return KeysTableModel::tr("keyID");
    }
    return {};
}

Symbol symbolOf(const KeyRow& row, KeyColumn column)
{
    if (column == KeyColumn::name)
        return Symbol::key;
    switch (row.relation) {
    case KeyRelation::current:
        return Symbol::plug;
    case KeyRelation::held:
        return Symbol::check;
    case KeyRelation::notHeld:
        break;
    }
    return Symbol::cloud;
}

std::string helpOf(const KeyRow& row, KeyColumn column)
{
    switch (column) {
    case KeyColumn::name: {
        std::string help = row.name;
        if (!row.nameMark.empty())
            help += " · " + row.nameMark + "\n" + std::string(storedNameHelp);
        if (!row.isSelectable())
            help += "\n" + std::string(currentKeyRefusal);
        return help;
    }
    case KeyColumn::relation:
        return std::string(relationHelp(row.relation));
    case KeyColumn::permissions:
        return row.permissions;
    case KeyColumn::reach:
        return row.reachHelp.empty() ? row.reach : row.reachHelp;
    case KeyColumn::expires:
        return row.expiresHelp;
    case KeyColumn::keyID:
        break;
    }
    return {};
}

} // namespace

void KeysTableModel::show(std::vector<KeyRow> rows, const std::set<std::string>& inFlight)
{
    inFlight_ = inFlight;
    removeGone(rows);
    appendNew(rows);
    arrange(std::move(rows));
    if (!rows_.empty())
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
}

void KeysTableModel::removeGone(const std::vector<KeyRow>& wanted)
{
    std::unordered_set<std::string> kept;
    for (const auto& row : wanted)
        kept.insert(idOf(row));
    for (int end = rowCount(); end > 0;) {
        int first = end;
        while (first > 0 && !kept.contains(idOf(row(first - 1))))
            --first;
        if (first == end) {
            --end;
            continue;
        }
        beginRemoveRows({}, first, end - 1);
        rows_.erase(rows_.begin() + first, rows_.begin() + end);
        endRemoveRows();
        end = first;
    }
}

void KeysTableModel::appendNew(const std::vector<KeyRow>& wanted)
{
    std::unordered_set<std::string> present;
    for (const auto& row : rows_)
        present.insert(idOf(row));
    std::vector<KeyRow> added;
    std::ranges::copy_if(
        wanted, std::back_inserter(added), [&](const KeyRow& row) { return !present.contains(idOf(row)); });
    if (added.empty())
        return;
    beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(added.size()) - 1);
    std::ranges::move(added, std::back_inserter(rows_));
    endInsertRows();
}

// Both hold the same keys now.
void KeysTableModel::arrange(std::vector<KeyRow> wanted)
{
    if (std::ranges::equal(rows_, wanted, {}, idOf, idOf)) {
        rows_ = std::move(wanted);
        return;
    }
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    std::unordered_map<std::string, int> places;
    for (std::size_t i = 0; i < wanted.size(); ++i)
        places.emplace(idOf(wanted[i]), static_cast<int>(i));
    const auto before = persistentIndexList();
    QModelIndexList after;
    for (const auto& old : before)
        after.append(index(places.at(idOf(row(old.row()))), old.column()));
    rows_ = std::move(wanted);
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, VerticalSortHint);
}

bool KeysTableModel::isSelectable(int number) const
{
    return row(number).isSelectable() && !inFlight_.contains(idOf(row(number)));
}

int KeysTableModel::rowOf(const std::string& keyID) const
{
    const auto found = std::ranges::find(rows_, keyID, idOf);
    return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
}

int KeysTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int KeysTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : keyColumnCount;
}

QString KeysTableModel::cellText(const KeyRow& row, KeyColumn column) const
{
    switch (column) {
    case KeyColumn::name:
        return toQString(row.nameMark.empty() ? row.name : row.name + " · " + row.nameMark);
    case KeyColumn::relation:
        return inFlight_.contains(idOf(row)) ? tr("Deleting…") : toQString(row.relationText);
    case KeyColumn::permissions:
        return toQString(row.permissions);
    case KeyColumn::reach:
        return toQString(row.reach);
    case KeyColumn::expires:
        return toQString(row.expires);
    case KeyColumn::keyID:
        return toQString(idOf(row));
    }
    return {};
}

QVariant KeysTableModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const auto& shown = row(index.row());
    const auto column = static_cast<KeyColumn>(index.column());
    switch (role) {
    case Qt::DisplayRole:
        return cellText(shown, column);
    case Qt::ToolTipRole: {
        const auto help = helpOf(shown, column);
        return help.empty() ? QVariant() : QVariant(toQString(help));
    }
    case Qt::AccessibleDescriptionRole:
        return toQString(column == KeyColumn::name ? std::string(relationHelp(shown.relation)) : helpOf(shown, column));
    case TableRole::symbol:
        if (column == KeyColumn::name || column == KeyColumn::relation)
            return static_cast<int>(symbolOf(shown, column));
        return {};
    case TableRole::isDimmed:
        return inFlight_.contains(idOf(shown))
            || (column == KeyColumn::relation && shown.relation == KeyRelation::notHeld);
    default:
        return {};
    }
}

QVariant KeysTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= keyColumnCount)
        return {};
    if (role == Qt::DisplayRole)
        return titleOf(static_cast<KeyColumn>(section));
    if (role == TableRole::columnID)
        return toQString(keyColumnNames()[static_cast<std::size_t>(section)]);
    return {};
}

Qt::ItemFlags KeysTableModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    const Qt::ItemFlags usual = Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    return isSelectable(index.row()) ? usual | Qt::ItemIsSelectable : usual;
}
