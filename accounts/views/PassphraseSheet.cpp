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
    }
    return {};
}

QString textOf(Purpose purpose)
{
    const QString warning =
        PassphraseSheet::tr("Kestrovan then asks for this passphrase at each start. It is stored nowhere: without it "
                            "the keys in the file cannot be read again, by you or by anyone else.");
    switch (purpose) {
    case Purpose::unlock:
        return PassphraseSheet::tr("The file that keeps your keys on this computer is closed by a passphrase.");
    case Purpose::set:
        return warning;
    case Purpose::change:
        return warning
            + PassphraseSheet::tr(" Leave both fields empty to take the passphrase off: what opens the file then lies "
                                  "beside it.");
    }
    return {};
}

} // namespace

PassphraseSheet::PassphraseSheet(Purpose purpose, const std::filesystem::path& store, QWidget* parent)
    : Sheet(titleOf(purpose), textOf(purpose), parent)
    , purpose_(purpose)
    , first_(new SecretField(tr("passphrase"), this))
{
    setObjectName(QStringLiteral("passphrase"));
    setVerb(purpose == Purpose::unlock ? tr("Unlock") : tr("Set Passphrase"));
    addRow(tr("Passphrase"), first_);
    if (purpose == Purpose::unlock) {
        if (!store.empty())
            addWide(makeSecondaryLabel(toQString(forgottenPassphraseText(store)), TextSize::small, this));
    } else {
        second_ = new SecretField(tr("passphrase again"), this);
        addRow(tr("Again"), second_);
        // From field to field; what shows them comes after.
        setTabOrder(&first_->edit(), &second_->edit());
        setTabOrder(&second_->edit(), &first_->revealButton());
        setTabOrder(&first_->revealButton(), &second_->revealButton());
        connect(second_, &SecretField::changed, this, &PassphraseSheet::render);
    }
    connect(first_, &SecretField::changed, this, &PassphraseSheet::render);
    render();
}

Secret PassphraseSheet::passphrase() const
{
    return first_->secret();
}

void PassphraseSheet::selectPassphrase()
{
    first_->edit().setFocus(Qt::OtherFocusReason);
    first_->edit().selectAll();
}

void PassphraseSheet::render()
{
    QString refusal;
    QString message;
    const bool takesOff = purpose_ == Purpose::change && first_->secret().empty();
    if (first_->isEmpty() && !takesOff) {
        refusal = tr("Enter the passphrase.");
    } else if (second_ && second_->secret() != first_->secret()) {
        refusal = tr("Enter the same passphrase twice.");
        if (!second_->isEmpty())
            message = tr("The two passphrases are not the same.");
    }
    if (purpose_ == Purpose::change)
        setVerbText(takesOff ? tr("Take Off Passphrase") : tr("Change Passphrase"));
    setVerbEnabled(refusal.isEmpty(), refusal);
    setMessage(MessageKind::notice, message);
}

void PassphraseSheet::done(int result)
{
    first_->wipe();
    if (second_)
        second_->wipe();
    Sheet::done(result);
}
