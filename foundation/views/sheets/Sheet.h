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

/// A question or form over its window: title, a sentence of purpose, rows, an error, and buttons with verbs.
///
/// Opened with `open()`, never with a nested loop; `accepted` and `rejected` report the outcome; Escape cancels. 480 to
/// 600 px wide. The first field has the focus. The sheet only shows; a model decides what is allowed.
class Sheet : public QDialog {
    Q_OBJECT

public:
    Sheet(const QString& title, const QString& purpose, QWidget* parent);

    /// Adds a field with its label on the left, and `consequence` under it in secondary text.
    void addRow(const QString& label, QWidget* field, const QString& consequence = {});

    /// Adds one of several choices with its consequence underneath; the first has the label of them all.
    QRadioButton* addChoice(
        QButtonGroup* group, const QString& text, const QString& consequence, const QString& label = {});

    /// Adds any other widget, as wide as the sheet.
    void addWide(QWidget* widget);

    /// Adds a widget under the rows, which `setBusy` does not lock. Delete it to remove it.
    void addUnderRows(QWidget* widget);

    /// Adds the default button, which acts and is named with a verb ("Create Bucket").
    QPushButton* setVerb(const QString& verb);

    /// Sets another verb for the same button.
    void setVerbText(const QString& verb);

    /// Adds a destructive button ("Delete 3 Versions"), which is set apart and never the default; Cancel is.
    QPushButton* setDestructiveVerb(const QString& verb);

    /// Sets the text of the Cancel button, where "Cancel" would be unclear.
    void setCancelText(const QString& text);
    /// Moves the focus to the button that changes nothing.
    void focusCancel();
    /// Removes the verb: the sheet can then only be closed.
    void showOnlyClose(const QString& text);
    /// Removes the Cancel button, for a sheet that cannot simply be cancelled; Escape then does what `reject` does.
    void hideCancel();

    /// Enables or disables the verb; a disabled one says why on hover and to a screen reader.
    void setVerbEnabled(bool enabled, const QString& reason = {});

    /// Shows a sentence with an icon above the buttons; an empty one removes it.
    void setMessage(MessageKind kind, const QString& text);

    /// Shows that the verb runs: the rows are locked, the line moves, and `text` says what is being done. Cancel stays
    /// enabled. The focus returns to its place at the end.
    void setBusy(bool busy, const QString& text = {});

Q_SIGNALS:
    /// The verb was pressed. The owner closes the sheet with `accept()` when it is done.
    void verbTriggered();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    /// Grows the open sheet when its rows need more room; it does not shrink, so nothing jumps. Called whenever the
    /// rows change.
    virtual void makeRoom();
    /// Returns the height the sheet needs for its content, at its width and on its screen.
    int fittingHeight();
    /// Moves the open sheet up when its bottom is below that of the screen.
    void keepOnScreen();

    /// Replaces title and sentence of purpose, when the sheet goes on from a question to its result.
    void setHeading(const QString& title, const QString& purpose = {});
    /// Removes what `addRow` and `addWide` have added, as a result no longer needs it.
    void removeRows();
    /// Hides the verb while its work runs, and for good.
    void hideVerb();

private:
    QLabel* makeCaption(const QString& label, QWidget* field);
    void setVerbButton(QPushButton* button);

    QVBoxLayout* column_;
    QLabel* heading_ = nullptr;
    QLabel* purpose_ = nullptr;
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
    QPointer<QWidget> focusBefore_; ///< Had the focus before the work began.
    bool isVerbEnabled_ = true;
};
