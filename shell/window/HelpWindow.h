#pragma once

#include <QDialog>

/// A short guide: first steps and the keyboard.
class HelpWindow final : public QDialog {
    Q_OBJECT

public:
    /// Shows the one help window, made on first use.
    static void open(QWidget* parent);

    /// Shows the program's name and version over the window.
    static void showAbout(QWidget* parent);

private:
    explicit HelpWindow(QWidget* parent);
};
