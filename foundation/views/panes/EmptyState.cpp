#include "foundation/views/panes/EmptyState.h"

#include "foundation/views/Labels.h"
#include "foundation/views/style/SymbolView.h"
#include "foundation/views/tables/NameText.h"

#include <QBoxLayout>
#include <QPushButton>

EmptyState::EmptyState(QWidget* parent)
    : QWidget(parent)
    , icon_(new SymbolView(Symbol::folder, SymbolTint::secondary, 48, this))
    , title_(makeLabel({}, TextSize::title, QFont::DemiBold, this))
    , body_(makeSecondaryLabel({}, TextSize::normal, this))
    , first_(new QPushButton(this))
    , second_(new QPushButton(this))
{
    for (auto* label : {title_, body_}) {
        label->setAlignment(Qt::AlignHCenter);
        label->setWordWrap(true);
    }
    auto* content = new QWidget(this);
    content->setMaximumWidth(maximumContentWidth);
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins({});
    column->setSpacing(Spacing::small);
    column->addWidget(icon_, 0, Qt::AlignHCenter);
    column->addSpacing(Spacing::small);
    column->addWidget(title_);
    column->addWidget(body_);
    column->addSpacing(Spacing::small);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(Spacing::small);
    buttons->addStretch();
    buttons->addWidget(first_);
    buttons->addWidget(second_);
    buttons->addStretch();
    column->addLayout(buttons);

    // Content looks centred when it is a little above the middle.
    auto* across = new QHBoxLayout;
    across->addStretch(1);
    across->addWidget(content, 1000);
    across->addStretch(1);
    auto* down = new QVBoxLayout(this);
    down->setContentsMargins(Spacing::wide, Spacing::wide, Spacing::wide, Spacing::wide);
    down->addStretch(2);
    down->addLayout(across);
    down->addStretch(3);

    setActions({});
    connect(first_, &QPushButton::clicked, this, &EmptyState::firstActionTriggered);
    connect(second_, &QPushButton::clicked, this, &EmptyState::secondActionTriggered);
}

void EmptyState::showText(Symbol symbol, const QString& title, const QString& body)
{
    icon_->setSymbol(symbol, SymbolTint::secondary);
    title_->setText(breakable(title));
    body_->setText(breakable(body));
    body_->setVisible(!body.isEmpty());
    setAccessibleName(title);
    setAccessibleDescription(body);
}

void EmptyState::setActions(const QString& first, const QString& second)
{
    first_->setText(first);
    first_->setVisible(!first.isEmpty());
    second_->setText(second);
    second_->setVisible(!second.isEmpty());
}
