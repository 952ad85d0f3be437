#include "foundation/views/sheets/QuestionSheet.h"

#include "foundation/QtText.h"
#include "foundation/views/Labels.h"
#include "foundation/views/tables/NameText.h"

#include <QLineEdit>
#include <QPushButton>

QuestionSheet::QuestionSheet(const Question& question, QWidget* parent)
    : Sheet(toQString(question.title), toQString(question.text), parent)
    , question_(question)
{
    setAttribute(Qt::WA_DeleteOnClose);
    for (const auto& consequence : question_.consequences)
        addWide(makeSecondaryLabel(breakable(toQString("• " + consequence)), TextSize::normal, this));
    if (question_.isDestructive)
        setDestructiveVerb(toQString(question_.verb));
    else
        setVerb(toQString(question_.verb));
    setCancelText(toQString(question_.cancelText));
    if (question_.typedName)
        addTypedName();
    renderVerb();
    if (question_.refusal)
        setMessage(MessageKind::warning, toQString(*question_.refusal));
}

void QuestionSheet::addTypedName()
{
    typed_ = new QLineEdit(this);
    typed_->setObjectName(QStringLiteral("typedName"));
    addRow(tr("Name"), typed_, breakable(toQString(*verbRefusal(question_, ""))));
    connect(typed_, &QLineEdit::textChanged, this, &QuestionSheet::renderVerb);
}

void QuestionSheet::renderVerb()
{
    const auto refusal = verbRefusal(question_, typed_ ? fromQString(typed_->text()) : std::string());
    setVerbEnabled(!refusal, toQString(refusal.value_or("")));
}
