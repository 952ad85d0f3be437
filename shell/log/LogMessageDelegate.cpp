#include "shell/log/LogMessageDelegate.h"

#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Measures.h"
#include "shell/log/LogTableModel.h"

#include <QApplication>
#include <QPainter>

void LogMessageDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyleOptionViewItem frame = option;
    initStyleOption(&frame, index);
    const QString message = frame.text;
    frame.text.clear();
    const QStyle* const style = frame.widget ? frame.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &frame, painter, frame.widget);

    const QString detail = index.data(LogTableModel::detailRole).toString();
    const bool isSelected = frame.state.testFlag(QStyle::State_Selected);
    QRect line = option.rect.adjusted(Spacing::tight, Spacing::tight, -Spacing::tight, -Spacing::tight);
    const int lineHeight = frame.fontMetrics.height();
    line.setHeight(lineHeight);
    if (detail.isEmpty())
        line.moveTop(option.rect.top() + (option.rect.height() - lineHeight) / 2);
    painter->save();
    painter->setFont(frame.font);
    painter->setPen(frame.palette.color(isSelected ? QPalette::HighlightedText : QPalette::Text));
    painter->drawText(
        line, Qt::AlignLeading | Qt::AlignVCenter, frame.fontMetrics.elidedText(message, Qt::ElideRight, line.width()));
    if (!detail.isEmpty()) {
        line.translate(0, lineHeight + 2);
        painter->setPen(isSelected ? frame.palette.color(QPalette::HighlightedText) : secondaryText(frame.palette));
        painter->drawText(line, Qt::AlignLeading | Qt::AlignVCenter,
            frame.fontMetrics.elidedText(detail, Qt::ElideRight, line.width()));
    }
    painter->restore();
}

QSize LogMessageDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const int lineHeight = option.fontMetrics.height();
    const bool hasDetail = !index.data(LogTableModel::detailRole).toString().isEmpty();
    const int text = hasDetail ? 2 * lineHeight + 2 : lineHeight;
    return {200, text + 10};
}
