#pragma once

#include <qnamespace.h>

class QHeaderView;
class QMenu;
class QString;

/// Roles shared by the tables of this program.
struct TableRole {
    /// In a horizontal header: the permanent name of the column, a string, under which its state is kept.
    static constexpr int columnID = Qt::UserRole + 900;
    /// In a cell: its `Symbol` as an int; cheaper than a decoration.
    static constexpr int symbol = Qt::UserRole + 901;
    /// In a cell: true when it is drawn in the secondary colour, as for a hidden or unfinished file.
    static constexpr int isDimmed = Qt::UserRole + 902;
};

/// Returns the order, widths and visibility of the columns as one line of text for the settings:
/// `name 240; size 96; added 160 hidden`.
QString columnState(const QHeaderView& header);

/// Restores the columns from the text. Columns that it does not name, or describes wrongly, stay as they are; the first
/// column is never hidden.
void restoreColumnState(QHeaderView& header, const QString& state);

/// Returns the title of a column; where none is shown, its accessible text.
QString columnTitle(const QHeaderView& header, int section);

/// Makes the menu that shows and hides columns; the caller opens it, and it deletes itself when closed.
QMenu* makeColumnsMenu(QHeaderView& header);
