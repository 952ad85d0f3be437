#pragma once

#include "foundation/views/style/ColorRoles.h"

#include <QDialog>
#include <QPointer>

class LoadingLine;
class MessageIcon;
class QButtonGroup;
class QFormLayout;
class QHBoxLayout;
class QLabel;
class QPushButton;
class QRadioButton;
class QVBoxLayout;

/// A question or form over its window: title, a sentence of purpose, rows, what is wrong, and buttons with verbs.
///
/// Opened with `open()`, never with a nested loop; `accepted` and `rejected` tell the outcome, Escape cancels. 480 to
/// 600 px wide. The first field has the focus. The sheet shows; what may be done, a model decides.
class Sheet : public QDialog {
    Q_OBJECT

public:
    Sheet(const QString& title, const QString& purpose, QWidget* parent);

    /// A field with its label on the left; `consequence` stands under the field in secondary text.
    void addRow(const QString& label, QWidget* field, const QString& consequence = {});

    /// One of several choices, with what follows from it underneath; the first carries the label of them all.
    QRadioButton* addChoice(
        QButtonGroup* group, const QString& text, const QString& consequence, const QString& label = {});

    /// Anything else that takes the sheet's whole width.
    void addWide(QWidget* widget);

    /// A widget under the rows, which `setBusy` does not lock. Delete it to take it away.
    void addUnderRows(QWidget* widget);

    /// The button that does it, with a verb ("Create Bucket"), and the default.
    QPushButton* setVerb(const QString& verb);

    /// Another verb for the same button.
    void setVerbText(const QString& verb);

    /// A button that destroys ("Delete 3 Versions"): stands apart and is never the default, Cancel is.
    QPushButton* setDestructiveVerb(const QString& verb);

    /// Sets the text of the button that changes nothing, where "Cancel" would be unclear.
    void setCancelText(const QString& text);
    /// Moves the focus to the button that changes nothing.
    void focusCancel();
    /// Takes the verb away: the sheet can then only be closed.
    void showOnlyClose(const QString& text);
    /// For a sheet that cannot simply be turned down; Escape then does what `reject` is made to do.
    void hideCancel();

    /// A disabled verb says why on hover and to a screen reader.
    void setVerbEnabled(bool enabled, const QString& reason = {});

    /// A sentence with icon above the buttons; an empty one takes it away.
    void setMessage(MessageKind kind, const QString& text);

    /// While the verb runs: rows are locked, the line moves, `text` says what is done. Cancel stays. The focus is back
    /// where it was when it ends.
    void setBusy(bool busy, const QString& text = {});

Q_SIGNALS:
    /// The verb was pressed. The owner closes the sheet with `accept()` when it is done.
    void verbTriggered();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    /// Grows the open sheet for what has come into the rows; nothing jumps when it goes. Called whenever they change.
    virtual void makeRoom();
    /// How high the sheet must be for all that it shows, at its width and on its screen.
    int fittingHeight();
    /// Moves the open sheet up when its end lies below the screen's.
    void keepOnScreen();

private:
    QLabel* makeCaption(const QString& label, QWidget* field);
    void setVerbButton(QPushButton* button);

    QVBoxLayout* column_;
    QWidget* rows_;
    QFormLayout* form_;
    QWidget* messageRow_;
    MessageIcon* messageIcon_;
    QLabel* message_;
    QString messageText_;
    LoadingLine* line_;
    QHBoxLayout* buttons_;
    QPushButton* cancel_;
    QPushButton* verb_ = nullptr;
    QPointer<QWidget> focusBefore_; ///< Who had the focus before the work.
    bool isVerbEnabled_ = true;
};
