#pragma once

#include "B2Kit/B2Bucket.h"

#include <QAbstractListModel>

#include <vector>

/// The buckets as rows of the sidebar. Rows keep their identity over a reload, so that selection and scroll stay.
class BucketListModel final : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role { bucketIDRole = Qt::UserRole + 1, symbolRole };

    using QAbstractListModel::QAbstractListModel;

    void show(const std::vector<B2Bucket>& buckets);
    QModelIndex indexOf(const std::string& bucketID) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    struct Row {
        std::string bucketID;
        std::string name;
        bool isPublic = false;
        bool isTypeKnown = true; ///< Not with a key that may not ask about buckets.

        bool operator==(const Row&) const = default;
    };

    std::vector<Row> rows_;
};
