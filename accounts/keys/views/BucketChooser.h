#pragma once

#include "B2Kit/B2Bucket.h"
#include "foundation/views/sheets/Sheet.h"

#include <QSortFilterProxyModel>
#include <QStandardItemModel>

#include <set>
#include <string>
#include <vector>

class QListView;

/// Chooses the buckets a key is limited to: a list with check boxes, and a filter above a long one.
class BucketChooser final : public Sheet {
    Q_OBJECT

public:
    BucketChooser(const std::vector<B2Bucket>& buckets, const std::set<std::string>& chosen, QWidget* parent);

    /// The ids of the checked buckets.
    std::set<std::string> chosen() const;

private:
    void toggle(const QModelIndex& index);
    void renderVerb();

    QStandardItemModel rows_;
    QSortFilterProxyModel shown_;
    QListView* list_;
};
