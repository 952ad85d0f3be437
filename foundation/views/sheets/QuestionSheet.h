#pragma once

#include "foundation/runs/Question.h"
#include "foundation/views/sheets/Sheet.h"

class QLineEdit;

/// Asks a `Question`. `verbTriggered` says that it was answered with the verb, once the name was typed if one has to
/// be; the owner then accepts the sheet. Turned down, it is rejected.
class QuestionSheet : public Sheet {
    Q_OBJECT

public:
    QuestionSheet(const Question& question, QWidget* parent);

    const Question& question() const { return question_; }

private:
    void addTypedName();
    void renderVerb();

    Question question_;
    QPointer<QLineEdit> typed_ = nullptr; ///< Null where nothing has to be typed.
};
