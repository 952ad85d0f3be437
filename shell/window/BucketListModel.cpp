#include "shell/window/BucketListModel.h"

#include "foundation/QtText.h"
#include "foundation/views/style/Icons.h"

#include <QColor>

#include <algorithm>

void BucketListModel::show(const std::vector<B2Bucket>& buckets)
{
    std::vector<Row> wanted;
    wanted.reserve(buckets.size());
    for (const auto& bucket : buckets)
        wanted.push_back(
            {bucket.bucketID, bucket.bucketName, bucket.bucketType.isPublic(), !bucket.bucketType.rawValue.empty()});
    if (wanted == rows_)
        return;
    // Few rows: those that went are taken out, then each wanted row is moved or put to its place.
    for (int row = static_cast<int>(rows_.size()) - 1; row >= 0; --row) {
        const auto& present = rows_[static_cast<std::size_t>(row)].bucketID;
        if (std::ranges::find(wanted, present, &Row::bucketID) == wanted.end()) {
            beginRemoveRows({}, row, row);
            rows_.erase(rows_.begin() + row);
            endRemoveRows();
        }
    }
    for (std::size_t place = 0; place < wanted.size(); ++place) {
        const auto row = static_cast<int>(place);
        if (place < rows_.size() && rows_[place].bucketID == wanted[place].bucketID) {
            if (rows_[place] != wanted[place]) {
                rows_[place] = wanted[place];
                Q_EMIT dataChanged(index(row), index(row));
            }
            continue;
        }
        const auto elsewhere = std::ranges::find(rows_, wanted[place].bucketID, &Row::bucketID);
        if (elsewhere != rows_.end()) {
            const auto from = static_cast<int>(elsewhere - rows_.begin());
            beginMoveRows({}, from, from, {}, row);
            std::rotate(rows_.begin() + row, elsewhere, elsewhere + 1);
            endMoveRows();
            rows_[place] = wanted[place];
            continue;
        }
        beginInsertRows({}, row, row);
        rows_.insert(rows_.begin() + row, wanted[place]);
        endInsertRows();
    }
}

QModelIndex BucketListModel::indexOf(const std::string& bucketID) const
{
    const auto found = std::ranges::find(rows_, bucketID, &Row::bucketID);
    return found == rows_.end() ? QModelIndex() : index(static_cast<int>(found - rows_.begin()));
}

int BucketListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant BucketListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const Row& row = rows_[static_cast<std::size_t>(index.row())];
    const QString access = !row.isTypeKnown ? tr("This key may not ask whether the bucket is public")
        : row.isPublic                      ? tr("Public: anyone with a file's URL can read it without a key")
                                            : tr("Private: every read needs an authorized key");
    switch (role) {
    case Qt::DisplayRole:
        return toQString(row.name);
    case Qt::DecorationRole:
        // Keeps the place; the delegate draws the symbol.
        return QColor(Qt::transparent);
    case symbolRole:
        return static_cast<int>(row.isPublic ? Symbol::bucketPublic : Symbol::bucketPrivate);
    case Qt::ToolTipRole:
        return QString(toQString(row.name) + u'\n' + access);
    case Qt::AccessibleTextRole:
        return QString(toQString(row.name) + QStringLiteral(", ") + access);
    case bucketIDRole:
        return toQString(row.bucketID);
    default:
        return {};
    }
}
