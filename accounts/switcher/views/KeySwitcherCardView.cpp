#include "accounts/switcher/views/KeySwitcherCardView.h"

#include "foundation/QtText.h"
#include "foundation/views/Announcer.h"
#include "foundation/views/ElidedLabel.h"
#include "foundation/views/Labels.h"
#include "foundation/views/style/SymbolView.h"
#include "foundation/views/tables/NameText.h"

#include <QGridLayout>
#include <QPushButton>
#include <QToolButton>

namespace {

enum FactRow { permitsRow, reachesRow, expiresRow, regionRow, factCount };

QToolButton* makeButton(Symbol symbol, const QString& help, QWidget* parent)
{
    auto* const button = new QToolButton(parent);
    button->setIcon(symbolIcon(symbol));
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    button->setToolTip(help);
    button->setAccessibleName(help);
    return button;
}

} // namespace

KeySwitcherCardView::KeySwitcherCardView(QWidget* parent)
    : QWidget(parent)
    , title_(new ElidedLabel({}, this))
    , subtitle_(new ElidedLabel({}, this))
    , shared_(new SymbolView(Symbol::cloud, SymbolTint::secondary, 16, this))
    , info_(makeButton(Symbol::info, tr("Show this key's details"), this))
    , more_(makeButton(Symbol::more, tr("More for this key"), this))
    , attemptIcon_(new MessageIcon(MessageKind::warning, this))
    , attemptText_(makeLabel({}, TextSize::normal, QFont::Normal, this))
    , retry_(new QPushButton(tr("Try Again"), this))
    , facts_(new QGridLayout)
{
    title_->setFont(textFont(TextSize::large, QFont::DemiBold));
    subtitle_->setFont(textFont(TextSize::small));
    subtitle_->setSecondary(true);
    const QString sharedHelp = tr("Shared with your other computers");
    shared_->setAttribute(Qt::WA_TransparentForMouseEvents, false);
    shared_->setToolTip(sharedHelp);
    shared_->setAccessibleName(sharedHelp);

    auto* const names = new QVBoxLayout;
    names->setSpacing(2);
    names->addWidget(title_);
    names->addWidget(subtitle_);
    auto* const head = new QHBoxLayout;
    head->setSpacing(Spacing::tight);
    head->addWidget(new SymbolView(Symbol::key, SymbolTint::plain, 24, this), 0, Qt::AlignTop);
    head->addSpacing(Spacing::tight);
    head->addLayout(names, 1);
    head->addWidget(shared_);
    head->addWidget(info_);
    head->addWidget(more_);

    attemptText_->setWordWrap(true);
    auto* const attempt = new QGridLayout;
    attempt->setContentsMargins(0, Spacing::tight, 0, 0);
    attempt->setHorizontalSpacing(Spacing::small);
    attempt->setVerticalSpacing(Spacing::small);
    attempt->setColumnStretch(1, 1);
    attempt->addWidget(attemptIcon_, 0, 0, Qt::AlignTop);
    attempt->addWidget(attemptText_, 0, 1);
    attempt->addWidget(retry_, 1, 1, Qt::AlignLeading);

    facts_->setContentsMargins(0, Spacing::tight, 0, 0);
    facts_->setHorizontalSpacing(Spacing::normal);
    facts_->setVerticalSpacing(Spacing::tight);
    facts_->setColumnStretch(1, 1);
    for (int row = 0; row < factCount; ++row) {
        facts_->addWidget(makeSecondaryLabel({}, TextSize::small, this), row, 0, Qt::AlignTop);
        auto* const value = makeLabel({}, TextSize::small, QFont::Normal, this);
        value->setWordWrap(true);
        facts_->addWidget(value, row, 1);
        static_cast<QLabel*>(facts_->itemAtPosition(row, 0)->widget())->setWordWrap(false);
    }

    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(Spacing::normal, Spacing::normal, Spacing::normal, Spacing::normal);
    column->setSpacing(Spacing::tight);
    column->addLayout(head);
    column->addLayout(attempt);
    column->addLayout(facts_);

    connect(info_, &QToolButton::clicked, this, &KeySwitcherCardView::infoRequested);
    connect(retry_, &QPushButton::clicked, this, &KeySwitcherCardView::retryRequested);
    connect(more_, &QToolButton::clicked, this,
        [this] { Q_EMIT menuRequested(more_->mapToGlobal(QPoint(0, more_->height()))); });
}

void KeySwitcherCardView::setCard(const KeySwitcherCard& card)
{
    title_->setText(toQString(card.title));
    QStringList parts{toQString(card.account.value_or(""))};
    if (card.isMaster)
        parts.append(tr("Master Application Key"));
    parts.removeAll(QString());
    subtitle_->setText(parts.join(QStringLiteral(" · ")));
    shared_->setVisible(card.isShared);
    info_->setVisible(card.canShowInfo);

    setFact(permitsRow, tr("Permits"), card.permits);
    setFact(reachesRow, tr("Reaches"), card.reaches);
    setFact(expiresRow, tr("Expires"), card.expires);
    setFact(regionRow, tr("Region"), card.region);
    auto* const expires = facts_->itemAtPosition(expiresRow, 1)->widget();
    QPalette colors = palette();
    if (card.expiresSoon)
        colors.setColor(QPalette::WindowText, messageColor(MessageKind::warning, colors));
    expires->setPalette(colors);
    setAttempt(card);
    setAccessibleName(tr("Key in use: %1").arg(title_->text()));
}

void KeySwitcherCardView::setFact(int row, const QString& name, const std::optional<std::string>& value)
{
    auto* const caption = static_cast<QLabel*>(facts_->itemAtPosition(row, 0)->widget());
    auto* const text = static_cast<QLabel*>(facts_->itemAtPosition(row, 1)->widget());
    caption->setText(name);
    text->setText(showableName(toQString(value.value_or(""))));
    text->setAccessibleName(name + QStringLiteral(": ") + text->text());
    caption->setVisible(value.has_value());
    text->setVisible(value.has_value());
}

void KeySwitcherCardView::setAttempt(const KeySwitcherCard& card)
{
    const QString text = showableName(toQString(card.notConnected.value_or("")));
    const QString shown = breakable(text);
    const bool isNew = shown != attemptText_->text();
    attemptIcon_->setKind(card.isConnecting ? MessageKind::notice : MessageKind::warning);
    attemptText_->setText(shown);
    // Keeps the focus from moving to an unrelated button.
    if (!card.canRetry && retry_->hasFocus())
        more_->setFocus(Qt::OtherFocusReason);
    retry_->setVisible(card.canRetry);
    attemptIcon_->setVisible(!text.isEmpty());
    attemptText_->setVisible(!text.isEmpty());
    if (isNew && !text.isEmpty() && isVisible())
        announce(*attemptText_, text);
}
