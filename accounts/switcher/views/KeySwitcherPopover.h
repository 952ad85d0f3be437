#pragma once

#include "accounts/switcher/KeySwitcher.h"
#include "accounts/switcher/views/KeySwitcherRowsModel.h"

#include <QFrame>

class KeySwitcherCardView;
class KeySwitcherList;
class QLabel;
class QToolButton;
class SearchField;

/// The key switcher: the current key's card, the other keys by account, and what can be done with them.
///
/// Opens under its header and takes the keyboard like a menu, without a nested loop; a choice, Escape or a click
/// elsewhere closes it, and it deletes itself then. With many keys letters search.
class KeySwitcherPopover final : public QFrame {
    Q_OBJECT

public:
    /// More keys than this get a field that searches.
    static constexpr std::size_t searchFrom = 12;

    KeySwitcherPopover(KeySwitcherActions actions, QWidget& header);

    void setContent(const KeySwitcherContent& content);
    void openUnderHeader();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void build();
    void search(const QString& text);
    bool passKeyToList(QKeyEvent* event);
    void renderNote();
    void fit();
    void followScroll();
    void take(const KeySwitcherRow& row);
    void openMenu(const StoredKey& key, const QPoint& position, bool isCurrent, bool isMissing, bool canShowInfo);
    void act(const std::function<void()>& action);
    void act(const std::function<void(StoredKey)>& action, const StoredKey& key);

    KeySwitcherActions actions_;
    QWidget& header_;
    KeySwitcherContent content_;
    KeySwitcherRowsModel rows_;
    KeySwitcherCardView* card_;
    QWidget* cardLine_;
    QLabel* noteTitle_;
    QLabel* note_;
    QWidget* searchRow_;
    SearchField* search_;
    KeySwitcherList* list_;
    QToolButton* further_;
    QToolButton* removeRevoked_;
    QToolButton* unlock_;
    QToolButton* addKey_;
};
