#pragma once

#include "B2Kit/B2Bucket.h"
#include "foundation/views/tables/KeyedRowsModel.h"

#include <string>
#include <vector>

/// A bucket as the sidebar shows it.
struct BucketListRow {
    std::string bucketID;
    std::string name;
    bool isPublic = false;
    bool isTypeKnown = true; ///< Not with a key that may not ask about buckets.

    bool operator==(const BucketListRow&) const = default;
};

/// The buckets as rows of the sidebar, by bucket ID.
class BucketListModel final : public KeyedRows<BucketListRow> {
    Q_OBJECT

public:
    enum Role { bucketIDRole = Qt::UserRole + 1, symbolRole };

    using KeyedRows::KeyedRows;

    void show(const std::vector<B2Bucket>& buckets);
    QModelIndex indexOf(const std::string& bucketID) const;

    QVariant data(const QModelIndex& index, int role) const override;

private:
    std::string_view keyOf(const BucketListRow& row) const override { return row.bucketID; }
};
