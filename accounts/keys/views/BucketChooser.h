#pragma once

#include "B2Kit/B2Bucket.h"
#include "foundation/views/Sheet.h"

#include <QSortFilterProxyModel>
#include <QStandardItemModel>

#include <set>
#include <string>
#include <vector>

class QListView;

/// Which buckets a key is to reach: ticks in a list, with a filter over long ones.
class BucketChooser final : public Sheet {
    Q_OBJECT

public:
    BucketChooser(const std::vector<B2Bucket>& buckets, const std::set<std::string>& chosen, QWidget* parent);

    /// The ids of those ticked.
    std::set<std::string> chosen() const;

private:
    void toggle(const QModelIndex& index);
    void renderVerb();

    QStandardItemModel rows_;
    QSortFilterProxyModel shown_;
    QListView* list_;
};
