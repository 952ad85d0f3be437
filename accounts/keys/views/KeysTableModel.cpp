#include "accounts/keys/views/KeysTableModel.h"

#include "foundation/QtText.h"
#include "foundation/Texts.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/tables/TableColumns.h"

#include <utility>

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
    const bool isOtherInFlight = inFlight_ != inFlight;
    inFlight_ = inFlight;
    showRows(std::move(rows));
    if (isOtherInFlight)
        announceRows(0, rowCount() - 1);
}

std::string_view KeysTableModel::keyOf(const KeyRow& row) const
{
    return idOf(row);
}

bool KeysTableModel::isSelectable(int number) const
{
    return row(number).isSelectable() && !inFlight_.contains(idOf(row(number)));
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
