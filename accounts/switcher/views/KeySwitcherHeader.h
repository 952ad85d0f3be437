#pragma once

#include "accounts/switcher/KeySwitcher.h"

#include <QAbstractButton>
#include <QPointer>

class KeySwitcherModel;
class KeySwitcherPopover;

/// The top of the sidebar: shows the account and key in use. Pressing it opens the switcher.
class KeySwitcherHeader final : public QAbstractButton {
    Q_OBJECT

public:
    KeySwitcherHeader(KeySwitcherModel& model, KeySwitcherActions actions, QWidget* parent = nullptr);

    /// The open switcher, or null.
    KeySwitcherPopover* popover() const;
    void openPopover();

    void setContent(const KeySwitcherHeaderContent& content);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    struct Lines {
        QString first;
        QString second;
        QString badge;
        bool isWarning = false; ///< The second line says that there is no connection.
    };

    void render();
    Lines lines() const;

    KeySwitcherModel& model_;
    KeySwitcherActions actions_;
    KeySwitcherHeaderContent content_;
    QPointer<KeySwitcherPopover> popover_;
};
