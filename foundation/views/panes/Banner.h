#pragma once

#include "foundation/views/style/ColorRoles.h"

#include <QFrame>

class MessageIcon;
class QLabel;
class QPushButton;
class QToolButton;

/// A message above what it is about: icon, sentence, at most one action, and a way to close it.
///
/// Hidden until `show…`; showing another message replaces the first. A screen reader hears it.
class Banner final : public QFrame {
    Q_OBJECT

public:
    explicit Banner(QWidget* parent = nullptr);

    /// Shows the sentence; with a text for the action its button stands beside it.
    void showMessage(MessageKind kind, const QString& text, const QString& action = {});
    void dismiss();

    const QString& text() const { return sentence_; }
    MessageKind kind() const { return kind_; }

    /// A message that must not be lost has no close button.
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
