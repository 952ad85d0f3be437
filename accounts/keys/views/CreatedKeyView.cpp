#include "accounts/keys/views/CreatedKeyView.h"

#include "B2Kit/Secret.h"
#include "foundation/QtText.h"
#include "foundation/views/Announcer.h"
#include "foundation/views/Labels.h"
#include "foundation/views/SecretClipboard.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/SymbolView.h"
#include "foundation/views/tables/NameText.h"

#include <QCheckBox>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

CreatedKeyView::CreatedKeyView(B2CreatedApplicationKey created, AddKey add, std::string_view keyPlace, QWidget* parent)
    : Sheet(toQString(CreatedKeyRules::title), {}, parent)
    , created_(std::move(created))
    , add_(std::move(add))
    , twin_(new QWidget(this))
    , twinText_(makeLabel({}, TextSize::normal, QFont::Normal, twin_))
    , copyButton_(new QPushButton(symbolIcon(Symbol::copy), tr("Copy keyName, keyID and applicationKey"), this))
    , acknowledged_(new QCheckBox(tr("I have saved the applicationKey somewhere safe"), this))
    , addToKestrovan_(new QCheckBox(tr("Add this key to Kestrovan"), this))
{
    setObjectName(QStringLiteral("createdKey"));
    setMinimumWidth(540);
    buildFields(keyPlace);
    setVerb(tr("Done"));
    hideCancel();
    connect(copyButton_, &QPushButton::clicked, this, &CreatedKeyView::copy);
    connect(acknowledged_, &QCheckBox::toggled, this, [this](bool isOn) {
        rules_.hasAcknowledged = isOn;
        render();
    });
    connect(this, &Sheet::verbTriggered, this, &CreatedKeyView::finish);
    render();
    setMessage(MessageKind::warning, toQString(CreatedKeyRules::warning));
}

CreatedKeyView::~CreatedKeyView()
{
    wipe(created_.applicationKey);
}

void CreatedKeyView::buildFields(std::string_view keyPlace)
{
    const auto addText = [this](const QString& title, const std::string& text) {
        auto* const label = makeIdentifierLabel(toQString(text), this);
        // The name may have 100 letters without a place to break the line.
        label->setMinimumWidth(1);
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
        addRow(title, label);
        return label;
    };
    auto* const name = addText(tr("keyName"), created_.key.keyName);
    name->setToolTip(name->text());
    addText(tr("keyID"), created_.key.applicationKeyID);
    addText(tr("applicationKey"), created_.applicationKey);

    auto* const line = new QHBoxLayout(twin_);
    line->setContentsMargins({});
    line->setSpacing(Spacing::small);
    line->addWidget(new MessageIcon(MessageKind::warning, twin_), 0, Qt::AlignTop);
    line->addWidget(twinText_, 1);
    twinText_->setObjectName(QStringLiteral("twinNote"));
    twinText_->setWordWrap(true);
    twinText_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    twin_->setVisible(false);
    addWide(twin_);

    auto* const options = new QWidget(this);
    auto* const column = new QVBoxLayout(options);
    column->setContentsMargins({});
    column->setSpacing(Spacing::small);
    copyButton_->setToolTip(tr("The clipboard is emptied again after 60 seconds"));
    copyButton_->setAutoDefault(false);
    column->addWidget(copyButton_, 0, Qt::AlignLeading);
    column->addWidget(acknowledged_);
    column->addSpacing(Spacing::tight);
    column->addWidget(addToKestrovan_);
    auto* const text = makeSecondaryLabel(toQString(CreatedKeyRules::addText(keyPlace)), TextSize::small, options);
    text->setContentsMargins(Spacing::wide, 0, 0, 0);
    column->addWidget(text);
    addToKestrovan_->setAccessibleDescription(text->text());
    addToKestrovan_->setVisible(add_ != nullptr);
    text->setVisible(add_ != nullptr);
    addWide(options);
}

void CreatedKeyView::showTwinNote(const QString& text)
{
    const auto shown = breakable(text);
    if (shown == twinText_->text())
        return;
    twinText_->setText(shown);
    twin_->setVisible(!text.isEmpty());
    makeRoom();
    announce(*this, text);
}

void CreatedKeyView::copy()
{
    auto text = CreatedKeyRules::clipboardText(created_);
    SecretClipboard::shared().copy(toQString(text));
    wipe(text);
    rules_.hasCopied = true;
    copyButton_->setIcon(symbolIcon(Symbol::check));
    copyButton_->setText(tr("Copied"));
    copyButton_->setAccessibleName(tr("Copy keyName, keyID and applicationKey"));
    announce(*this, tr("Copied. The clipboard is emptied again after 60 seconds."));
    render();
}

void CreatedKeyView::render()
{
    setVerbEnabled(rules_.mayClose(), toQString(CreatedKeyRules::closeRefusal));
}

void CreatedKeyView::reject()
{
    if (rules_.mayClose())
        finish();
    else if (!rules_.isAdding)
        announce(*this, toQString(CreatedKeyRules::closeRefusal));
}

void CreatedKeyView::finish()
{
    if (!rules_.mayClose())
        return;
    if (add_ && addToKestrovan_->isChecked())
        tasks_.start(store(this));
    else
        accept();
}

Task<> CreatedKeyView::store(QPointer<CreatedKeyView> self)
{
    if (!self || self->rules_.isAdding)
        co_return;
    self->rules_.isAdding = true;
    self->setBusy(true, tr("Storing the key…"));
    const auto failure = co_await self->add_(self->created_);
    if (!self)
        co_return;
    self->rules_.isAdding = false;
    self->setBusy(false);
    self->render();
    if (failure)
        self->setMessage(MessageKind::danger, toQString(CreatedKeyRules::addFailure(*failure)));
    else
        self->accept();
}
