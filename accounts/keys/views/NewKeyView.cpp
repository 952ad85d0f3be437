#include "accounts/keys/views/NewKeyView.h"

#include "accounts/keys/KeysModel.h"
#include "accounts/keys/views/BucketChooser.h"
#include "accounts/keys/views/PermissionList.h"
#include "foundation/QtText.h"
#include "foundation/views/Labels.h"
#include "foundation/views/sheets/QuestionSheet.h"
#include "foundation/views/tables/NameText.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int longestName = 100;

std::set<B2Capability> heldBy(const KeysModel& model)
{
    const auto session = *model.session;
    return session ? session->authorization.storage.allowed.capabilities : std::set<B2Capability>();
}

/// Stacks fields and notes, and describes the fields to screen readers with the notes.
QWidget* stacked(std::initializer_list<QWidget*> widgets, QWidget* parent)
{
    auto* const cell = new QWidget(parent);
    auto* const column = new QVBoxLayout(cell);
    column->setContentsMargins({});
    column->setSpacing(Spacing::tight);
    for (auto* const widget : widgets)
        column->addWidget(widget);
    return cell;
}

void setNote(QLabel& note, const std::string& text)
{
    note.setText(breakable(toQString(text)));
    note.setVisible(!text.empty());
}

} // namespace

NewKeyView::NewKeyView(KeysModel& model, std::vector<B2Bucket> buckets, QWidget* parent)
    : Sheet(tr("New Application Key"), {}, parent)
    , model_(model)
    , session_(*model.session)
    , buckets_(std::move(buckets))
    , held_(heldBy(model))
    , name_(new QLineEdit)
    , grants_(new QComboBox)
    , grantsText_(makeSecondaryLabel({}, TextSize::small))
    , permissions_(new PermissionList)
    , risk_(makeSecondaryLabel({}, TextSize::small))
    , chooser_(new QPushButton)
    , reach_(makeSecondaryLabel({}, TextSize::small))
    , leftOut_(makeSecondaryLabel({}, TextSize::small))
    , prefix_(new QLineEdit)
    , prefixNote_(makeSecondaryLabel({}, TextSize::small))
    , lifetime_(new QComboBox)
{
    setObjectName(QStringLiteral("newKey"));
    setMinimumWidth(540);
    buildFields();
    setVerb(tr("Create Key"));
    connect(name_, &QLineEdit::textChanged, this, &NewKeyView::readForm);
    connect(prefix_, &QLineEdit::textChanged, this, &NewKeyView::readForm);
    connect(grants_, &QComboBox::currentIndexChanged, this, &NewKeyView::readForm);
    connect(lifetime_, &QComboBox::currentIndexChanged, this, &NewKeyView::readForm);
    connect(permissions_, &PermissionList::changed, this, &NewKeyView::readForm);
    connect(chooser_, &QPushButton::clicked, this, &NewKeyView::chooseBuckets);
    connect(this, &Sheet::verbTriggered, this, &NewKeyView::submit);
    connect(&model_, &Observable::changed, this, &NewKeyView::followModel);
    render();
}

void NewKeyView::buildFields()
{
    name_->setMaxLength(longestName);
    name_->setPlaceholderText(tr("for example backup-laptop"));
    addRow(tr("Name"), name_);

    for (const auto preset : allKeyPresets)
        grants_->addItem(toQString(presetTitle(preset)));
    grants_->setObjectName(QStringLiteral("grants"));
    grants_->setAccessibleName(tr("Grants"));
    permissions_->setAccessibleName(tr("Permissions"));
    auto* const granted = stacked({grants_, grantsText_, permissions_, risk_}, this);
    granted->setFocusProxy(grants_);
    addRow(tr("Grants"), granted);

    chooser_->setAccessibleName(tr("Buckets"));
    chooser_->setAutoDefault(false);
    chooser_->setEnabled(!buckets_.empty());
    if (buckets_.empty())
        chooser_->setToolTip(tr("No bucket can be listed with the key in use"));
    addRow(tr("Buckets"), stacked({chooser_, reach_, leftOut_}, this));

    prefix_->setPlaceholderText(tr("optional, e.g. backups/"));
    addRow(tr("Only under prefix"), stacked({prefix_, prefixNote_}, this));

    for (const auto lifetime : allKeyLifetimes)
        lifetime_->addItem(toQString(lifetimeLabel(lifetime)));
    addRow(tr("Lifetime"), lifetime_);
}

void NewKeyView::readForm()
{
    form_.name = fromQString(name_->text());
    form_.preset = allKeyPresets[static_cast<std::size_t>(grants_->currentIndex())];
    form_.custom = permissions_->chosen();
    form_.prefix = fromQString(prefix_->text());
    form_.lifetime = allKeyLifetimes[static_cast<std::size_t>(lifetime_->currentIndex())];
    render();
}

NewKeyRules NewKeyView::rules() const
{
    return {form_, held_};
}

void NewKeyView::render()
{
    const auto now = rules();
    grantsText_->setText(toQString(now.presetText));
    grants_->setAccessibleDescription(grantsText_->text());
    permissions_->setVisible(form_.preset == KeyPreset::custom);
    setNote(*risk_, now.riskNote);
    setNote(*reach_, now.reachNote);
    setNote(*leftOut_, now.leftOut);
    setNote(*prefixNote_, now.prefixNote);
    prefix_->setAccessibleDescription(toQString(now.prefixNote));
    chooser_->setAccessibleDescription(reach_->text());

    QString chosen = tr("All Buckets");
    if (form_.bucketIDs.size() == 1) {
        const auto only = std::ranges::find(buckets_, *form_.bucketIDs.begin(), &B2Bucket::bucketID);
        chosen = only == buckets_.end() ? tr("1 Bucket") : toQString(only->bucketName);
    } else if (!form_.bucketIDs.empty()) {
        chosen = tr("%1 Buckets").arg(form_.bucketIDs.size());
    }
    chooser_->setText(chosen);
    setVerbEnabled(!now.refusal, toQString(now.refusal.value_or("")));
    // Says at once that the service would refuse the name; that it is missing is obvious.
    const bool isWrongName = now.refusal && !form_.name.empty();
    setMessage(MessageKind::warning, isWrongName ? toQString(*now.refusal) : QString());
}

// As high as the visible notes need, so that none overlaps another.
void NewKeyView::makeRoom()
{
    if (!isVisible())
        return;
    const int height = fittingHeight();
    setMinimumHeight(height);
    resize(width(), height);
    keepOnScreen();
}

void NewKeyView::followModel()
{
    if (*model_.session == session_.lock())
        renderBusy();
    else
        reject();
}

void NewKeyView::renderBusy()
{
    if (std::exchange(isWorking_, *model_.isWorking) != *model_.isWorking)
        setBusy(isWorking_, tr("Creating the key…"));
    // A refusal can come before the progress was ever shown.
    if (!isWorking_ && hasAsked_ && *model_.error) {
        hasAsked_ = false;
        setMessage(MessageKind::danger, toQString(**model_.error));
    }
}

void NewKeyView::chooseBuckets()
{
    auto* const sheet = new BucketChooser(buckets_, form_.bucketIDs, this);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    connect(sheet, &QDialog::accepted, this, [this, sheet] {
        form_.bucketIDs = sheet->chosen();
        render();
    });
    sheet->open();
}

void NewKeyView::submit()
{
    const auto now = rules();
    if (now.refusal || *model_.isWorking)
        return;
    if (now.asksFirst)
        askAboutSeveralBuckets();
    else
        request();
}

void NewKeyView::askAboutSeveralBuckets()
{
    auto* const sheet = new QuestionSheet(multiBucketQuestion(), this);
    sheet->setObjectName(QStringLiteral("multiBucketQuestion"));
    connect(sheet, &Sheet::verbTriggered, sheet, &QDialog::accept);
    connect(sheet, &QDialog::accepted, this, &NewKeyView::request);
    sheet->open();
}

void NewKeyView::request()
{
    model_.dismissError();
    hasAsked_ = true;
    Q_EMIT createRequested(makeCreateKeyRequest(form_, rules()));
}
