#include "shell/window/WelcomeView.h"

#include "accounts/views/LinkLabel.h"
#include "foundation/QtText.h"
#include "foundation/views/Labels.h"
#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/SymbolView.h"
#include "keychain/Keychain.h"

#include <QApplication>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace {

constexpr int columnWidth = 720;
constexpr int iconSize = 64;

/// A title with its text under it.
QVBoxLayout* makeTexts(const QString& title, const QStringList& texts, QWidget* parent)
{
    auto* const column = new QVBoxLayout;
    column->setSpacing(Spacing::tight);
    auto* const heading = makeLabel(title, TextSize::normal, QFont::DemiBold, parent);
    heading->setWordWrap(true);
    column->addWidget(heading);
    for (const auto& text : texts)
        column->addWidget(makeSecondaryLabel(text, TextSize::normal, parent));
    return column;
}

QHBoxLayout* makeFeature(Symbol symbol, const QString& title, const QString& text, QWidget* parent)
{
    auto* const line = new QHBoxLayout;
    line->setSpacing(Spacing::normal);
    line->addWidget(new SymbolView(symbol, SymbolTint::accent, 24, parent), 0, Qt::AlignTop);
    auto* const texts = makeTexts(title, {text}, parent);
    texts->addStretch();
    line->addLayout(texts, 1);
    return line;
}

/// One step: its mark on the left, its texts on the right.
QVBoxLayout* addStep(QGridLayout& grid, int number, const QString& title, const QStringList& texts, QWidget* parent)
{
    auto* const mark = makeLabel(WelcomeView::tr("Step %1").arg(number), TextSize::small, QFont::DemiBold, parent);
    mark->setForegroundRole(QPalette::Link);
    grid.addWidget(mark, number - 1, 0, Qt::AlignTop | Qt::AlignRight);
    auto* const column = makeTexts(title, texts, parent);
    grid.addLayout(column, number - 1, 1);
    return column;
}

} // namespace

WelcomeView::WelcomeView(QWidget* parent)
    : QWidget(parent)
    , lastStep_(makeSecondaryLabel({}, TextSize::normal, this))
    , connect_(new QPushButton(tr("Connect to Backblaze B2"), this))
{
    setObjectName(QStringLiteral("welcome"));
    auto* const content = new QWidget;
    content->setMaximumWidth(columnWidth);
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins(Spacing::wide, Spacing::wide, Spacing::wide, Spacing::wide);
    column->setSpacing(Spacing::small);

    auto* const icon = new QLabel(content);
    icon->setPixmap(QApplication::windowIcon().pixmap(iconSize, iconSize));
    icon->setAccessibleName(tr("Kestrovan"));
    column->addWidget(icon, 0, Qt::AlignHCenter);
    auto* const title = makeLabel(tr("Welcome to Kestrovan"), TextSize::title, QFont::DemiBold, content);
    title->setAlignment(Qt::AlignHCenter);
    column->addWidget(title);
    auto* const subtitle =
        makeSecondaryLabel(tr("Run your whole Backblaze B2 account from your computer, not just browse its files."),
            TextSize::normal, content);
    subtitle->setAlignment(Qt::AlignHCenter);
    column->addWidget(subtitle);
    column->addSpacing(Spacing::large);
    column->addWidget(makeFeatures());
    column->addSpacing(Spacing::large);
    column->addWidget(
        makeLabel(tr("Connect your Backblaze account in four steps"), TextSize::large, QFont::DemiBold, content));
    column->addSpacing(Spacing::tight);
    column->addWidget(makeSteps());
    column->addStretch();

    auto* const page = new QWidget;
    auto* const across = new QHBoxLayout(page);
    across->setContentsMargins({});
    across->addStretch(1);
    across->addWidget(content, 1000);
    across->addStretch(1);
    auto* const scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setWidget(page);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // Scrolled by the wheel and by moving among its links and buttons, so that the first Tab leads to one of them.
    scroll->setFocusPolicy(Qt::NoFocus);

    auto* const whole = new QVBoxLayout(this);
    whole->setContentsMargins({});
    whole->setSpacing(0);
    whole->addWidget(scroll, 1);
    whole->addWidget(makeFooter());
    connect(connect_, &QPushButton::clicked, this, &WelcomeView::connectRequested);
}

void WelcomeView::setKeyPlace(std::string_view place)
{
    lastStep_->setText(
        tr("The key is checked with Backblaze and kept in %1. It goes nowhere else.").arg(toQString(place)));
}

QWidget* WelcomeView::makeFeatures()
{
    auto* const box = new QWidget;
    auto* const grid = new QGridLayout(box);
    grid->setContentsMargins({});
    grid->setHorizontalSpacing(Spacing::wide);
    grid->setVerticalSpacing(Spacing::large);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 1);
    grid->addLayout(makeFeature(Symbol::key, tr("Every Application Key"),
                        tr("Not just the first ten. Create, limit and revoke them."), box),
        0, 0);
    grid->addLayout(makeFeature(Symbol::search, tr("Search every bucket"),
                        tr("By name, size or date, across the whole account."), box),
        0, 1);
    grid->addLayout(
        makeFeature(Symbol::copy, tr("Copy and move"), tr("Between buckets inside B2, versions included."), box), 1, 0);
    grid->addLayout(makeFeature(Symbol::storage, tr("Know what you pay"),
                        tr("Old versions and stalled uploads no listing shows."), box),
        1, 1);
    return box;
}

QWidget* WelcomeView::makeSteps()
{
    auto* const box = new QWidget;
    auto* const grid = new QGridLayout(box);
    grid->setContentsMargins({});
    grid->setHorizontalSpacing(Spacing::large);
    grid->setVerticalSpacing(Spacing::large);
    grid->setColumnStretch(1, 1);
    auto* const console =
        addStep(*grid, 1, tr("Open your B2 console"), {tr("Sign in to Backblaze and go to Application Keys.")}, box);
    console->addWidget(new LinkLabel(tr("Open Application Keys"), WebPages::applicationKeys, box));
    auto* const choice =
        addStep(*grid, 2, tr("Choose a key"), {tr("Either works. Kestrovan does what the key allows.")}, box);
    choice->addWidget(makeKeyChoice());
    addStep(*grid, 3, tr("Copy both values"),
        {tr("The keyID stays on that page. The applicationKey is shown only once, so copy it straight away.")}, box);
    auto* const paste = addStep(*grid, 4, tr("Paste them into Kestrovan"), {}, box);
    paste->addWidget(lastStep_);
    paste->addWidget(makeSecondaryLabel(
        tr("Kestrovan also asks for a name, which can be anything you like."), TextSize::normal, box));
    setKeyPlace(Keychain::usualPlace);
    return box;
}

QWidget* WelcomeView::makeKeyChoice()
{
    auto* const box = new QWidget;
    auto* const column = new QVBoxLayout(box);
    column->setContentsMargins({});
    column->setSpacing(Spacing::normal);
    auto* const question = new QPushButton(tr("Which key should I use?"), box);
    question->setCheckable(true);
    question->setIcon(symbolIcon(Symbol::chevronRight));
    column->addWidget(question, 0, Qt::AlignLeft);
    auto* const notes = new QWidget(box);
    auto* const noteColumn = new QVBoxLayout(notes);
    noteColumn->setContentsMargins({});
    noteColumn->setSpacing(Spacing::normal);
    noteColumn->addLayout(makeTexts(tr("Your Master Application Key"),
        {tr("Everything, including managing keys."),
            tr("Use the one you saved. Generate New Master Application Key replaces the old one, and anything else "
               "using it stops working.")},
        notes));
    noteColumn->addLayout(makeTexts(tr("A new Application Key"),
        {tr("Only what you give it."),
            tr("Made just for Kestrovan, and you can delete it on its own at any time. Limit it to one bucket, or to "
               "reading only. Keys made this way cannot manage your other keys.")},
        notes));
    notes->setVisible(false);
    column->addWidget(notes);
    connect(question, &QPushButton::toggled, notes, [question, notes](bool isOpen) {
        notes->setVisible(isOpen);
        question->setIcon(symbolIcon(isOpen ? Symbol::chevronDown : Symbol::chevronRight));
    });
    return box;
}

QWidget* WelcomeView::makeFooter()
{
    auto* const footer = new QWidget;
    auto* const column = new QVBoxLayout(footer);
    column->setContentsMargins(Spacing::wide, Spacing::normal, Spacing::wide, Spacing::large);
    column->setSpacing(Spacing::small);
    connect_->setDefault(true);
    connect_->setAutoDefault(true);
    connect_->setMinimumWidth(240);
    column->addWidget(connect_, 0, Qt::AlignHCenter);
    auto* const line = new QHBoxLayout;
    line->setSpacing(Spacing::tight);
    line->addStretch();
    line->addWidget(makeLabel(tr("No B2 account yet?"), TextSize::small, QFont::Normal, footer));
    auto* const link = new LinkLabel(tr("Sign up at backblaze.com"), WebPages::signUp, footer);
    link->setFont(textFont(TextSize::small));
    line->addWidget(link);
    line->addStretch();
    column->addLayout(line);
    return footer;
}

void WelcomeView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    connect_->setFocus(Qt::OtherFocusReason);
}
