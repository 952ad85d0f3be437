#include "accounts/keys/views/BucketChooser.h"

#include "foundation/QtText.h"
#include "foundation/views/SearchField.h"
#include "foundation/views/style/Icons.h"

#include <QListView>

namespace {

constexpr int bucketIDRole = Qt::UserRole + 1;
constexpr int filterFrom = 12; ///< More buckets than this get a filter field.
constexpr int listHeight = 240;

} // namespace

BucketChooser::BucketChooser(const std::vector<B2Bucket>& buckets, const std::set<std::string>& chosen, QWidget* parent)
    : Sheet(tr("Limit to Buckets"),
          tr("The key reaches the buckets ticked here. With none ticked it reaches every one."), parent)
    , list_(new QListView(this))
{
    setObjectName(QStringLiteral("bucketChooser"));
    for (const auto& bucket : buckets) {
        const auto symbol = bucket.bucketType.isPublic() ? Symbol::bucketPublic : Symbol::bucketPrivate;
        auto* const item = new QStandardItem(symbolIcon(symbol), toQString(bucket.bucketName));
        item->setToolTip(item->text());
        item->setCheckable(true);
        item->setCheckState(chosen.contains(bucket.bucketID) ? Qt::Checked : Qt::Unchecked);
        item->setData(toQString(bucket.bucketID), bucketIDRole);
        item->setEditable(false);
        rows_.appendRow(item);
    }
    shown_.setSourceModel(&rows_);
    shown_.setFilterCaseSensitivity(Qt::CaseInsensitive);
    if (buckets.size() > filterFrom) {
        auto* const filter = new SearchField(tr("Filter buckets"), SearchField::Purpose::filter, this);
        filter->setAccessibleName(tr("Filter buckets"));
        connect(filter, &QLineEdit::textChanged, &shown_, &QSortFilterProxyModel::setFilterFixedString);
        connect(filter, &SearchField::left, this, &QDialog::reject);
        addWide(filter);
    }
    list_->setModel(&shown_);
    list_->setAccessibleName(tr("Buckets"));
    list_->setTextElideMode(Qt::ElideMiddle);
    list_->setUniformItemSizes(true);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setIconSize({16, 16});
    list_->setFixedHeight(listHeight);
    if (shown_.rowCount() > 0)
        list_->setCurrentIndex(shown_.index(0, 0));
    addWide(list_);
    setVerb(tr("Choose"));
    connect(list_, &QListView::doubleClicked, this, &BucketChooser::toggle);
    connect(&rows_, &QStandardItemModel::itemChanged, this, &BucketChooser::renderVerb);
    connect(this, &Sheet::verbTriggered, this, &QDialog::accept);
    renderVerb();
}

std::set<std::string> BucketChooser::chosen() const
{
    std::set<std::string> ids;
    for (int row = 0; row < rows_.rowCount(); ++row) {
        if (rows_.item(row)->checkState() == Qt::Checked)
            ids.insert(fromQString(rows_.item(row)->data(bucketIDRole).toString()));
    }
    return ids;
}

void BucketChooser::toggle(const QModelIndex& index)
{
    auto* const item = rows_.itemFromIndex(shown_.mapToSource(index));
    item->setCheckState(item->checkState() == Qt::Checked ? Qt::Unchecked : Qt::Checked);
}

void BucketChooser::renderVerb()
{
    const auto count = static_cast<int>(chosen().size());
    QString verb = tr("Choose All Buckets");
    if (count == 1)
        verb = tr("Choose 1 Bucket");
    else if (count > 1)
        verb = tr("Choose %1 Buckets").arg(count);
    setVerbText(verb);
}
