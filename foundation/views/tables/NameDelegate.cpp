#include "foundation/views/tables/NameDelegate.h"

#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/style/StylePainting.h"
#include "foundation/views/tables/DenseTableView.h"
#include "foundation/views/tables/NameText.h"
#include "foundation/views/tables/TableColumns.h"

#include <QApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

namespace {

constexpr int iconExtent = 16;
constexpr int cellPadding = Spacing::small;

} // namespace

QSize RowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QString text = index.data(Qt::DisplayRole).toString();
    const int width = option.fontMetrics.horizontalAdvance(text) + 2 * cellPadding + iconExtent + Spacing::small;
    return {width, option.fontMetrics.height() + 10};
}

QStyleOptionViewItem RowDelegate::paintGround(
    QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyleOptionViewItem cell = option;
    cell.index = index;
    // The view draws one ring around the row.
    cell.state.setFlag(QStyle::State_HasFocus, false);
    if (const auto* table = qobject_cast<const DenseTableView*>(option.widget); table != nullptr) {
        cell.state.setFlag(QStyle::State_MouseOver, table->hoveredRow() == index.row());
        // The selection looks inactive as soon as another widget has the keyboard.
        cell.state.setFlag(QStyle::State_Active, table->hasFocus() && table->isActiveWindow());
    }
    const QStyle* style = option.widget != nullptr ? option.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &cell, &painter, option.widget);
    return cell;
}

QColor RowDelegate::textColor(const QStyleOptionViewItem& option, bool isSecondary)
{
    const bool isActive = option.state.testFlag(QStyle::State_Active);
    if (!option.state.testFlag(QStyle::State_Enabled)) {
        return option.palette.color(QPalette::Disabled, QPalette::Text);
    }
    if (option.state.testFlag(QStyle::State_Selected)) {
        return option.palette.color(isActive ? QPalette::Active : QPalette::Inactive, QPalette::HighlightedText);
    }
    return isSecondary ? secondaryText(option.palette) : option.palette.color(QPalette::Active, QPalette::Text);
}

QRect RowDelegate::contentRect(const QStyleOptionViewItem& option)
{
    return option.rect.adjusted(cellPadding, 0, -cellPadding, 0);
}

QRect NameDelegate::textRect(const QStyleOptionViewItem& option)
{
    const QRect content = contentRect(option);
    const QRect text = content.adjusted(iconExtent + Spacing::small, 0, 0, 0);
    return QStyle::visualRect(option.direction, content, text);
}

void NameDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QStyleOptionViewItem cell = paintGround(*painter, option, index);
    const QRect content = contentRect(cell);
    const QColor color = textColor(cell, index.data(TableRole::isDimmed).toBool());

    const QRect iconCell(content.left(), content.center().y() - iconExtent / 2 + 1, iconExtent, iconExtent);
    const QRect iconRect = QStyle::visualRect(cell.direction, content, iconCell);
    const QVariant symbol = index.data(TableRole::symbol);
    const bool isSelected = cell.state.testFlag(QStyle::State_Selected);
    if (symbol.isValid()) {
        const QColor tint = isSelected ? color : mixed(color, cell.palette.color(QPalette::Base), 0.78);
        paintSymbol(*painter, static_cast<Symbol>(symbol.toInt()), iconRect, tint);
    } else if (const auto icon = index.data(Qt::DecorationRole).value<QIcon>(); !icon.isNull()) {
        const bool isActive = isSelected && cell.state.testFlag(QStyle::State_Active);
        icon.paint(painter, iconRect, Qt::AlignCenter, isActive ? QIcon::Selected : QIcon::Normal);
    }

    const QRect text = textRect(cell);
    const QString name =
        elidedName(showableName(index.data(Qt::DisplayRole).toString()), cell.fontMetrics, text.width());
    painter->setPen(color);
    painter->setFont(cell.font);
    painter->drawText(
        text, QStyle::visualAlignment(cell.direction, Qt::AlignLeft) | Qt::AlignVCenter | Qt::TextSingleLine, name);
}

bool NameDelegate::helpEvent(
    QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option, const QModelIndex& index)
{
    if (event->type() != QEvent::ToolTip || index.data(Qt::ToolTipRole).isValid()) {
        return RowDelegate::helpEvent(event, view, option, index);
    }
    const QString name = showableName(index.data(Qt::DisplayRole).toString());
    if (elidedName(name, option.fontMetrics, textRect(option).width()) == name) {
        QToolTip::hideText();
        return true;
    }
    QToolTip::showText(event->globalPos(), name.toHtmlEscaped(), view);
    return true;
}

void SecondaryTextDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QStyleOptionViewItem cell = paintGround(*painter, option, index);
    const QRect rect = contentRect(cell);
    const QVariant wanted = index.data(Qt::TextAlignmentRole);
    const auto alignment = wanted.isValid() ? Qt::Alignment(wanted.toInt()) : Qt::Alignment(Qt::AlignLeft);
    const bool isNumber = alignment.testFlag(Qt::AlignRight);
    const QString text = index.data(Qt::DisplayRole).toString();
    painter->setPen(textColor(cell, true));
    painter->setFont(isNumber ? tabularFont(cell.font) : cell.font);
    const auto horizontal = QStyle::visualAlignment(cell.direction, alignment) & Qt::AlignHorizontal_Mask;
    painter->drawText(rect, static_cast<int>(horizontal | Qt::AlignVCenter) | Qt::TextSingleLine,
        cell.fontMetrics.elidedText(text, Qt::ElideRight, rect.width()));
}
