#pragma once

#include <qnamespace.h>

class QHeaderView;
class QMenu;
class QString;

/// Roles that tables of this program share.
struct TableRole {
    /// Of a horizontal header: the column's lasting name, a string, under which its state is kept.
    static constexpr int columnID = Qt::UserRole + 900;
    /// Of an index: its `Symbol` as an int; cheaper than a decoration.
    static constexpr int symbol = Qt::UserRole + 901;
    /// Of an index: true when the row steps back (hidden, unfinished) and is drawn in the secondary colour.
    static constexpr int isDimmed = Qt::UserRole + 902;
};

/// Order, widths, visibility and sorting of the columns as one line of text for the settings:
/// `name 240; size 96; added 160 hidden; sort size descending`.
QString columnState(const QHeaderView& header);

/// Brings back what the text tells. What it does not know, or tells wrongly, stays as it is; the first column never
/// hides.
void restoreColumnState(QHeaderView& header, const QString& state);

/// The menu that shows and hides columns; the caller opens it, and it deletes itself when closed.
QMenu* makeColumnsMenu(QHeaderView& header);
