#include "accounts/views/PassphraseSheet.h"

#include "accounts/KeySheetTexts.h"
#include "accounts/views/SecretField.h"
#include "foundation/QtText.h"
#include "foundation/views/Labels.h"

#include <QLineEdit>
#include <QPushButton>

namespace {

using Purpose = PassphraseSheet::Purpose;

QString titleOf(Purpose purpose)
{
    switch (purpose) {
    case Purpose::unlock:
        return PassphraseSheet::tr("Unlock Your Keys");
    case Purpose::set:
        return PassphraseSheet::tr("Protect Your Keys");
    case Purpose::change:
        return PassphraseSheet::tr("Change the Passphrase of Your Keys");
    case Purpose::remove:
        return PassphraseSheet::tr("Remove the Passphrase of Your Keys?");
    }
    return {};
}

QString textOf(Purpose purpose)
{
    switch (purpose) {
    case Purpose::unlock:
        return PassphraseSheet::tr("The file that keeps your keys on this computer is locked with a passphrase.");
    case Purpose::set:
    case Purpose::change:
        return PassphraseSheet::tr("Kestrovan asks for this passphrase at each start. It is not stored anywhere: "
                                   "without it, neither you nor anyone else can read the keys in the file again.");
    case Purpose::remove:
        return PassphraseSheet::tr(
            "The key to the file is then stored beside it. Kestrovan no longer asks for a passphrase, and "
            "any program that you run could read your keys.");
    }
    return {};
}

QString verbOf(Purpose purpose)
{
    switch (purpose) {
    case Purpose::unlock:
        return PassphraseSheet::tr("Unlock");
    case Purpose::set:
        return PassphraseSheet::tr("Set Passphrase");
    case Purpose::change:
        return PassphraseSheet::tr("Change Passphrase");
    case Purpose::remove:
        return PassphraseSheet::tr("Remove Passphrase");
    }
    return {};
}

} // namespace

PassphraseSheet::PassphraseSheet(Purpose purpose, const std::filesystem::path& store, QWidget* parent)
    : Sheet(titleOf(purpose), textOf(purpose), parent)
{
    setObjectName(QStringLiteral("passphrase"));
    if (purpose == Purpose::remove)
        setDestructiveVerb(verbOf(purpose));
    else
        setVerb(verbOf(purpose));
    if (purpose == Purpose::unlock)
        current_ = addField(tr("Passphrase"), tr("passphrase"));
    else if (purpose != Purpose::set)
        current_ = addField(tr("Current passphrase"), tr("current passphrase"));
    if (purpose == Purpose::set || purpose == Purpose::change) {
        new_ = addField(
            purpose == Purpose::set ? tr("Passphrase") : tr("New passphrase"), tr("new passphrase"), passphraseAdvice);
        again_ = addField(tr("Again"), tr("new passphrase again"));
    } else if (!store.empty()) {
        addWide(makeSecondaryLabel(toQString(forgottenPassphraseText(store)), TextSize::small, this));
    }
    // From field to field; the buttons that reveal them come after.
    const auto fields = findChildren<SecretField*>();
    for (qsizetype i = 1; i < fields.size(); ++i)
        setTabOrder(&fields[i - 1]->edit(), &fields[i]->edit());
    if (!fields.isEmpty())
        setTabOrder(&fields.last()->edit(), &fields.first()->revealButton());
    for (qsizetype i = 1; i < fields.size(); ++i)
        setTabOrder(&fields[i - 1]->revealButton(), &fields[i]->revealButton());
    render();
}

SecretField* PassphraseSheet::addField(const QString& label, const QString& name, std::string_view advice)
{
    auto* const field = new SecretField(name, this);
    addRow(label, field, toQString(advice));
    connect(field, &SecretField::changed, this, &PassphraseSheet::render);
    return field;
}

Secret PassphraseSheet::currentPassphrase() const
{
    return current_ ? current_->secret() : Secret();
}

Secret PassphraseSheet::newPassphrase() const
{
    return new_ ? new_->secret() : Secret();
}

void PassphraseSheet::selectPassphrase()
{
    auto& edit = (current_ ? current_ : new_)->edit();
    edit.setFocus(Qt::OtherFocusReason);
    edit.selectAll();
}

void PassphraseSheet::render()
{
    QString refusal;
    QString message;
    MessageKind kind = MessageKind::notice;
    if (current_ && current_->secret().empty()) {
        refusal = new_ ? tr("Enter the current passphrase.") : tr("Enter the passphrase.");
    } else if (new_ && new_->isEmpty()) {
        refusal = current_ ? tr("Enter a new passphrase.") : tr("Enter a passphrase.");
    } else if (again_ && again_->secret() != new_->secret()) {
        refusal = tr("Enter the same passphrase twice.");
    }
    if (again_ && !again_->isEmpty()) {
        if (again_->secret() != new_->secret()) {
            message = tr("The two passphrases are not the same.");
        } else if (isShortPassphrase(new_->secret())) {
            message = toQString(shortPassphraseText);
            kind = MessageKind::warning;
        }
    }
    setVerbEnabled(refusal.isEmpty(), refusal);
    setMessage(kind, message);
}

void PassphraseSheet::done(int result)
{
    for (auto* const field : {current_, new_, again_}) {
        if (field)
            field->wipe();
    }
    Sheet::done(result);
}
