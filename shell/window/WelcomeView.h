#pragma once

#include <QWidget>

#include <string_view>

class QLabel;
class QPushButton;

/// Fills the window while no key is stored: presents the program and explains how to connect in four steps.
class WelcomeView final : public QWidget {
    Q_OBJECT

public:
    explicit WelcomeView(QWidget* parent = nullptr);

    /// Sets the place where a key will be kept.
    void setKeyPlace(std::string_view place);

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

    QLabel* lastStep_; ///< Says where the key is kept.
    QPushButton* connect_;
};
