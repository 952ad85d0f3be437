#pragma once

#include "foundation/views/style/ColorRoles.h"

#include <QFrame>

class MessageIcon;
class QLabel;
class QPushButton;
class QToolButton;

/// A message above its subject: icon, sentence, at most one action, and a close button.
///
/// Hidden until `showMessage`; another message replaces the first. Screen readers announce it.
class Banner final : public QFrame {
    Q_OBJECT

public:
    explicit Banner(QWidget* parent = nullptr);

    /// Shows the sentence, and beside it a button if there is a text for the action.
    void showMessage(MessageKind kind, const QString& text, const QString& action = {});
    void dismiss();

    const QString& text() const { return sentence_; }
    MessageKind kind() const { return kind_; }

    /// Shows or hides the close button; a message that must not be lost has none.
    void setClosable(bool closable);

Q_SIGNALS:
    void actionTriggered();
    void closed();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    MessageKind kind_ = MessageKind::notice;
    QString sentence_;
    MessageIcon* icon_;
    QLabel* text_;
    QPushButton* action_;
    QToolButton* close_;
};
