#include "accounts/views/AddKeyView.h"

#include "accounts/views/LinkLabel.h"
#include "accounts/views/SecretField.h"
#include "foundation/QtText.h"
#include "foundation/views/Announcer.h"
#include "foundation/views/Labels.h"
#include "foundation/views/style/SymbolView.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>

#include <utility>

namespace {

QWidget* makeNote(const QString& text, QWidget* parent)
{
    auto* const note = new QWidget(parent);
    auto* const line = new QHBoxLayout(note);
    line->setContentsMargins({});
    line->setSpacing(Spacing::small);
    line->addWidget(new SymbolView(Symbol::info, SymbolTint::notice, 16, note), 0, Qt::AlignTop);
    line->addWidget(makeSecondaryLabel(text, TextSize::small, note), 1);
    return note;
}

} // namespace

AddKeyView::AddKeyView(KeyStore& store, std::optional<KnownKey> known, AfterAdding after, QWidget* parent)
    : Sheet(tr("Connect to Backblaze B2"),
          tr("Paste an Application Key. It is checked against B2 before being saved, and stored only in %1.")
              .arg(toQString(store.keychain().place())),
          parent)
    , model_(store, std::move(known), after)
    , label_(new QLineEdit(this))
    , keyID_(new QLineEdit(this))
    , applicationKey_(new SecretField(tr("applicationKey"), this))
    , verb_(setVerb(tr("Add Key")))
{
    setObjectName(QStringLiteral("addKey"));
    label_->setPlaceholderText(tr("As named in B2"));
    keyID_->setPlaceholderText(QStringLiteral("0021234000000000000000001"));
    keyID_->setFont(fixedFont());
    keyID_->setInputMethodHints(Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase);
    addRow(tr("keyName"), label_, tr("Any name you like. Using the name from Backblaze keeps the two lists matching"));
    addRow(tr("keyID"), keyID_);
    addRow(tr("applicationKey"), applicationKey_);
    addWide(new LinkLabel(tr("Create a key in Backblaze"), WebPages::applicationKeys, this));
    if (const auto note = model_.storeNote())
        addWide(makeNote(toQString(*note), this));
    if (const auto& key = model_.known()) {
        label_->setText(toQString(key->name));
        keyID_->setText(toQString(key->keyID));
        keyID_->setReadOnly(true);
        applicationKey_->setFocus(Qt::OtherFocusReason);
    }

    connect(label_, &QLineEdit::textChanged, this, &AddKeyView::render);
    // The message was about the key that was tried.
    const auto changeKey = [this] {
        model_.dismissError();
        render();
    };
    connect(keyID_, &QLineEdit::textChanged, this, changeKey);
    connect(applicationKey_, &SecretField::changed, this, changeKey);
    connect(this, &Sheet::verbTriggered, this, &AddKeyView::submit);
    connect(&model_, &Observable::changed, this, &AddKeyView::render);
    render();
}

void AddKeyView::submit()
{
    model_.submit(fromQString(label_->text()), fromQString(keyID_->text()), applicationKey_->secret());
}

void AddKeyView::render()
{
    if (*model_.addedKeyID) {
        // Closing wipes the secret, which renders again.
        if (!isVisible() || std::exchange(hasFinished_, true))
            return;
        announce(*(parentWidget() ? parentWidget() : this), tr("Key added"));
        if (onFinished)
            onFinished(**model_.addedKeyID);
        accept();
        return;
    }
    verb_->setText(toQString(model_.verb()));
    if (*model_.isValidating) {
        setBusy(true, toQString(model_.progressText()));
        wasValidating_ = true;
        return;
    }
    if (std::exchange(wasValidating_, false)) {
        setBusy(false);
        // The fields were disabled while the key was checked and have lost the focus.
        applicationKey_->edit().setFocus(Qt::OtherFocusReason);
        applicationKey_->edit().selectAll();
    }
    const auto refusal = model_.refusal(fromQString(keyID_->text()), !applicationKey_->isEmpty());
    setVerbEnabled(!refusal, toQString(refusal.value_or("")));
    setMessage(MessageKind::danger, toQString(model_.error->value_or("")));
}

void AddKeyView::done(int result)
{
    // Nobody needs the wait for the keyring any longer.
    if (result == QDialog::Rejected && *model_.isValidating)
        model_.stopWaiting();
    applicationKey_->wipe();
    Sheet::done(result);
}
