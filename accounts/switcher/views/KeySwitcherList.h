#pragma once

#include "accounts/switcher/views/KeySwitcherRowsModel.h"

#include <QListView>

/// The list of keys in the switcher: arrows, Home, End and letters choose a row, Enter or a click takes it, the menu
/// key or a click on the row's dots opens its menu.
///
/// Beyond its first and last row the arrows go on to the control above or below.
class KeySwitcherList final : public QListView {
    Q_OBJECT

public:
    explicit KeySwitcherList(KeySwitcherRowsModel& rows, QWidget* parent = nullptr);

    /// The height of the list with all its rows.
    int contentHeight() const;

    /// Says whether a field beside the list sends it its keys: its row then looks chosen while the field has the focus,
    /// and letters go to the field.
    void setSearchField(QWidget* field) { searchField_ = field; }

    /// The text shown while no row matches; screen readers announce it.
    void setEmptyText(const QString& text);

    void choose(const QModelIndex& index);
    /// The row that Enter takes; invalid before one was chosen.
    QModelIndex chosen() const;
    /// Is the row's menu button drawn?
    bool showsMenuButton(const QModelIndex& index) const;
    /// Where that button is in a row's rectangle.
    QRect menuButtonRect(const QRect& row) const;
    bool hasKeyboard() const;

Q_SIGNALS:
    void taken(const KeySwitcherRow& row);
    /// `position` is global.
    void menuRequested(const KeySwitcherRow& row, const QPoint& position);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool moveChoice(int key);
    void openMenu(const QModelIndex& index);

    KeySwitcherRowsModel& rows_;
    QWidget* searchField_ = nullptr;
    QString emptyText_;
    QPersistentModelIndex hovered_;
    QPersistentModelIndex pressed_;
};
