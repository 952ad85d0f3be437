#include "browser/views/DigestDelegate.h"

DigestDelegate::DigestDelegate(QObject* parent)
    : RowDelegate(parent)
{
}

void DigestDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    auto cell = option;
    if (const auto font = index.data(Qt::FontRole); font.isValid()) {
        cell.font = font.value<QFont>();
        cell.fontMetrics = QFontMetrics(cell.font);
    }
    plain_.paint(painter, cell, index);
}
