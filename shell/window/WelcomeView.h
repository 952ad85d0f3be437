#pragma once

#include <QWidget>

#include <string_view>

class QLabel;
class QPushButton;

/// What fills the window while no key is stored: what the program does, and how to connect it in four steps.
class WelcomeView final : public QWidget {
    Q_OBJECT

public:
    explicit WelcomeView(QWidget* parent = nullptr);

    /// Says where a key will be kept.
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

    QLabel* lastStep_; ///< What becomes of the key.
    QPushButton* connect_;
};
