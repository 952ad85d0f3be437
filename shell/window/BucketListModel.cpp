#include "shell/window/BucketListModel.h"

#include "foundation/QtText.h"
#include "foundation/views/style/Icons.h"

#include <QColor>

#include <utility>

void BucketListModel::show(const std::vector<B2Bucket>& buckets)
{
    std::vector<BucketListRow> wanted;
    wanted.reserve(buckets.size());
    for (const auto& bucket : buckets)
        wanted.push_back(
            {bucket.bucketID, bucket.bucketName, bucket.bucketType.isPublic(), !bucket.bucketType.rawValue.empty()});
    showRows(std::move(wanted));
}

QModelIndex BucketListModel::indexOf(const std::string& bucketID) const
{
    const int row = rowOf(bucketID);
    return row < 0 ? QModelIndex() : index(row);
}

QVariant BucketListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const auto& bucket = row(index.row());
    const QString access = !bucket.isTypeKnown ? tr("This key may not ask whether the bucket is public")
        : bucket.isPublic                      ? tr("Public: anyone with a file's URL can read it without a key")
                                               : tr("Private: every read needs an authorized key");
    switch (role) {
    case Qt::DisplayRole:
        return toQString(bucket.name);
    case Qt::DecorationRole:
        // Keeps the place; the delegate draws the symbol.
        return QColor(Qt::transparent);
    case symbolRole:
        return static_cast<int>(bucket.isPublic ? Symbol::bucketPublic : Symbol::bucketPrivate);
    case Qt::ToolTipRole:
        return QString(toQString(bucket.name) + u'\n' + access);
    case Qt::AccessibleTextRole:
        return QString(toQString(bucket.name) + QStringLiteral(", ") + access);
    case bucketIDRole:
        return toQString(bucket.bucketID);
    default:
        return {};
    }
}
