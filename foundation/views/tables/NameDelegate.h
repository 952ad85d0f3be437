#pragma once

#include <QStyledItemDelegate>

/// The base of the cells of a `DenseTableView`: background of selection and hover over the whole row, colours,
/// alignment.
class RowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    /// Paints the background and returns the state the cell is drawn in.
    QStyleOptionViewItem paintGround(
        QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    static QColor textColor(const QStyleOptionViewItem& option, bool isSecondary);
    static QRect contentRect(const QStyleOptionViewItem& option);
};

/// Draws icon and name. A long name is shortened in its middle and keeps its extension; the tooltip then shows all of
/// it.
///
/// The icon is the model's `TableRole::symbol`, or else its decoration.
class NameDelegate final : public RowDelegate {
    Q_OBJECT

public:
    using RowDelegate::RowDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
        const QModelIndex& index) override;

private:
    static QRect textRect(const QStyleOptionViewItem& option);
};

/// Draws secondary text; numbers, by the model's `Qt::TextAlignmentRole`, on the right with figures of one width.
class SecondaryTextDelegate final : public RowDelegate {
    Q_OBJECT

public:
    using RowDelegate::RowDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
