#include "accounts/views/PassphraseSheet.h"

#include "accounts/views/SecretField.h"

#include <QLineEdit>
#include <QPushButton>

namespace {

QString titleOf(PassphraseSheet::Purpose purpose)
{
    return purpose == PassphraseSheet::Purpose::unlock ? PassphraseSheet::tr("Unlock Your Keys")
                                                       : PassphraseSheet::tr("Protect Your Keys");
}

QString textOf(PassphraseSheet::Purpose purpose)
{
    return purpose == PassphraseSheet::Purpose::unlock
        ? PassphraseSheet::tr("The file that keeps your keys on this computer is closed by a passphrase.")
        : PassphraseSheet::tr("Kestrovan then asks for this passphrase at each start. It is stored nowhere: without it "
                              "the keys in the file cannot be read again, by you or by anyone else.");
}

} // namespace

PassphraseSheet::PassphraseSheet(Purpose purpose, QWidget* parent)
    : Sheet(titleOf(purpose), textOf(purpose), parent)
    , purpose_(purpose)
    , first_(new SecretField(tr("passphrase"), this))
{
    setObjectName(QStringLiteral("passphrase"));
    setVerb(purpose == Purpose::unlock ? tr("Unlock") : tr("Set Passphrase"));
    addRow(tr("Passphrase"), first_);
    if (purpose == Purpose::set) {
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
    if (first_->isEmpty()) {
        refusal = tr("Enter the passphrase.");
    } else if (second_ && second_->secret() != first_->secret()) {
        refusal = tr("Enter the same passphrase twice.");
        if (!second_->isEmpty())
            message = tr("The two passphrases are not the same.");
    }
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
