#pragma once

#include <QStyledItemDelegate>

/// What the cells of a `DenseTableView` share: ground of selection and hover over the whole row, colours, alignment.
class RowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    /// Paints the ground and returns the state the cell is drawn in.
    QStyleOptionViewItem paintGround(
        QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    static QColor textColor(const QStyleOptionViewItem& option, bool isSecondary);
    static QRect contentRect(const QStyleOptionViewItem& option);
};

/// Icon and name: the name shortens in its middle and keeps the extension; the tooltip then has the whole.
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

/// Text of lesser weight; numbers by the model's `Qt::TextAlignmentRole` on the right, with figures of one width.
class SecondaryTextDelegate final : public RowDelegate {
    Q_OBJECT

public:
    using RowDelegate::RowDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
