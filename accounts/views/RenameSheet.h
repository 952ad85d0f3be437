#pragma once

#include "foundation/views/sheets/Sheet.h"

class QLineEdit;

/// The sheet that gives a key or an account another name.
class RenameSheet final : public Sheet {
    Q_OBJECT

public:
    /// @param text         explains what the name means and where it is stored.
    /// @param serviceName  the name at Backblaze, offered as the new one; empty for none.
    RenameSheet(
        const QString& title, const QString& text, const QString& name, const QString& serviceName, QWidget* parent);

Q_SIGNALS:
    /// The user has chosen the name; the sheet is closing.
    void renamed(const QString& name);

private:
    void render();

    QLineEdit* name_;
};
