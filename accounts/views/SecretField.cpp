#include "accounts/views/SecretField.h"

#include "foundation/views/style/Icons.h"
#include "foundation/views/style/Measures.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QToolButton>

#include <openssl/crypto.h>

SecretField::SecretField(const QString& name, QWidget* parent)
    : QWidget(parent)
    , name_(name)
    , edit_(new QLineEdit(this))
    , reveal_(new QToolButton(this))
{
    edit_->setFont(fixedFont());
    edit_->setAccessibleName(name);
    edit_->setDragEnabled(false);
    // The standard menu offers Undo.
    edit_->setContextMenuPolicy(Qt::NoContextMenu);
    edit_->installEventFilter(this);
    reveal_->setCheckable(true);
    reveal_->setAutoRaise(true);
    setFocusProxy(edit_);

    auto* const line = new QHBoxLayout(this);
    line->setContentsMargins({});
    line->setSpacing(Spacing::tight);
    line->addWidget(edit_, 1);
    line->addWidget(reveal_);
    connect(edit_, &QLineEdit::textChanged, this, &SecretField::changed);
    connect(reveal_, &QToolButton::toggled, this, &SecretField::setRevealed);
    setRevealed(false);
}

SecretField::~SecretField()
{
    // The receiver may already be half destroyed: a sheet deletes its fields.
    blockSignals(true);
    wipe();
}

Secret SecretField::secret() const
{
    QByteArray bytes = edit_->text().toUtf8();
    Secret secret(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    OPENSSL_cleanse(bytes.data(), static_cast<std::size_t>(bytes.size()));
    return secret;
}

bool SecretField::isEmpty() const
{
    return edit_->text().trimmed().isEmpty();
}

QWidget& SecretField::revealButton()
{
    return *reveal_;
}

void SecretField::wipe()
{
    // Shares the field's text, and is its only owner once the field has dropped it.
    QString text = edit_->text();
    // Unlike clear(), this drops the undo history too.
    edit_->setText({});
    OPENSSL_cleanse(text.data(), static_cast<std::size_t>(text.size()) * sizeof(QChar));
}

void SecretField::setRevealed(bool isRevealed)
{
    edit_->setEchoMode(isRevealed ? QLineEdit::Normal : QLineEdit::Password);
    // A field that reveals its text drops these.
    edit_->setInputMethodHints(
        Qt::ImhSensitiveData | Qt::ImhHiddenText | Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase);
    reveal_->setChecked(isRevealed);
    reveal_->setIcon(symbolIcon(isRevealed ? Symbol::eyeOff : Symbol::eye));
    const QString help = isRevealed ? tr("Hide the %1").arg(name_) : tr("Show the %1").arg(name_);
    reveal_->setToolTip(help);
    reveal_->setAccessibleName(help);
}

bool SecretField::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == edit_ && (event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride)) {
        const auto* const key = static_cast<QKeyEvent*>(event);
        if (key->matches(QKeySequence::Undo) || key->matches(QKeySequence::Redo)) {
            event->accept();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}
