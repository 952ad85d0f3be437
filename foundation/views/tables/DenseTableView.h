#pragma once

#include <QElapsedTimer>
#include <QTableView>

/// The program's table: rows as high as the font and 10 px, whole rows selected, no grid, columns that move and hide.
///
/// Enter or a double click opens, Backspace and Alt+Up go up, letters find the next row that starts with them; Space
/// stays free for the window. Selection, scroll and focus follow the model's row moves: the view never resets them.
/// Fluid with 100,000 rows as long as the model returns the data of a cell at once.
class DenseTableView final : public QTableView {
    Q_OBJECT

public:
    explicit DenseTableView(QWidget* parent = nullptr);

    void setModel(QAbstractItemModel* model) override;

    /// Sets the column that the keyboard search compares, and that takes the remaining width. 0 at first.
    void setNameColumn(int column);

    /// The row under the pointer, or -1.
    int hoveredRow() const { return hoveredRow_; }

    /// Restores the order, widths and visibility of the columns; see `columnState`.
    void restoreState(const QString& state);

    void keyboardSearch(const QString& letters) override;

Q_SIGNALS:
    /// Enter or a double click on a row; the index is in the name column.
    void opened(const QModelIndex& index);
    void goUp();
    /// Right click or the menu key; `position` is global, beside the current row for the key.
    void menuRequested(const QPoint& position);
    /// The user moved, resized, hid or showed a column: time to keep `columnState`.
    void stateChanged();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;

private:
    void setUpHeader();
    void setRowHeight();
    void setHoveredRow(int row);
    void updateRow(int row);
    void fillWidth();
    QRect rowRect(int row) const;
    int firstMatch(const QString& prefix, int from) const;

    int nameColumn_ = 0;
    int hoveredRow_ = -1;
    bool isFilling_ = false;
    QString typed_;
    QElapsedTimer sinceTyped_;
};
