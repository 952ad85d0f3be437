#pragma once

#include <QAbstractButton>

/// The card at the top of the sidebar: which account and key the window works with. Clicking it opens the switcher.
class KeyCard final : public QAbstractButton {
    Q_OBJECT

public:
    explicit KeyCard(QWidget* parent = nullptr);

    struct Content {
        QString account;
        QString key;
        QString region; ///< Empty when not known.
        QString badge;  ///< What the key is limited to; empty for none.
        bool isBusy = false;

        bool operator==(const Content&) const = default;
    };

    void show(const Content& content);
    using QAbstractButton::show;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    Content content_;
};
