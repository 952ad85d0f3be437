#pragma once

#include "B2Kit/Secret.h"

#include <QWidget>

class QLineEdit;
class QToolButton;

/// A field for a secret, hidden unless the user reveals it.
///
/// What is typed is kept from spelling and prediction, from undo and from being dragged away, and is wiped with
/// `wipe` and when the field goes.
class SecretField final : public QWidget {
    Q_OBJECT

public:
    /// @param name  what is typed here, for the reveal button and screen readers: "applicationKey".
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
