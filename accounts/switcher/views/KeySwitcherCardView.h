#pragma once

#include "accounts/switcher/KeySwitcher.h"

#include <QWidget>

class ElidedLabel;
class MessageIcon;
class QGridLayout;
class QLabel;
class QPushButton;
class QToolButton;
class SymbolView;

/// The card of the current key: its name and account, what it may do, and how the last attempt to connect ended.
class KeySwitcherCardView final : public QWidget {
    Q_OBJECT

public:
    explicit KeySwitcherCardView(QWidget* parent = nullptr);

    void setCard(const KeySwitcherCard& card);

Q_SIGNALS:
    void infoRequested();
    void retryRequested();
    /// `position` is global.
    void menuRequested(const QPoint& position);

private:
    void setFact(int row, const QString& name, const std::optional<std::string>& value);
    void setAttempt(const KeySwitcherCard& card);

    ElidedLabel* title_;
    ElidedLabel* subtitle_;
    SymbolView* shared_;
    QToolButton* info_;
    QToolButton* more_;
    MessageIcon* attemptIcon_;
    QLabel* attemptText_;
    QPushButton* retry_;
    QGridLayout* facts_;
};
