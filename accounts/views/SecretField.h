#pragma once

#include "B2Kit/Secret.h"

#include <QWidget>

class QLineEdit;
class QToolButton;

/// A field for a secret, hidden unless the user reveals it.
///
/// The typed text is excluded from spell checking, prediction, undo and dragging, and is wiped by `wipe` and when the
/// field is destroyed.
class SecretField final : public QWidget {
    Q_OBJECT

public:
    /// @param name  of the secret, for the reveal button and screen readers: "applicationKey".
    explicit SecretField(const QString& name, QWidget* parent = nullptr);
    ~SecretField() override;

    Secret secret() const;
    bool isEmpty() const;
    void wipe();
    void setRevealed(bool isRevealed);
    QLineEdit& edit() { return *edit_; }
    QWidget& revealButton();

Q_SIGNALS:
    void changed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QString name_;
    QLineEdit* edit_;
    QToolButton* reveal_;
};
