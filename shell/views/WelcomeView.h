#pragma once

#include <QWidget>

class QPushButton;

/// What fills the window while no key is stored: what the program does, and how to connect it in four steps.
class WelcomeView final : public QWidget {
    Q_OBJECT

public:
    explicit WelcomeView(QWidget* parent = nullptr);

    QPushButton& connectButton() { return *connect_; }

Q_SIGNALS:
    void connectRequested();

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* makeFeatures();
    QWidget* makeSteps();
    QWidget* makeKeyChoice();
    QWidget* makeFooter();

    QPushButton* connect_;
};
