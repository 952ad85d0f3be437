#include "storage/unfinished/views/UnfinishedUploadRow.h"

#include "foundation/QtText.h"
#include "foundation/views/ElidedLabel.h"
#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Measures.h"
#include "foundation/views/style/SymbolView.h"
#include "foundation/views/tables/NameText.h"
#include "storage/unfinished/UnfinishedUploadTexts.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>

UnfinishedUploadRow::UnfinishedUploadRow(QWidget* parent)
    : QFrame(parent)
    , name_(new ElidedLabel)
    , text_(new ElidedLabel)
    , resume_(new QPushButton(tr("Resume")))
    , cancel_(new QPushButton(tr("Cancel Upload")))
{
    constexpr int symbolExtent = 24;
    text_->setSecondary(true);
    resume_->setToolTip(tr("Continue from the parts Backblaze already holds"));
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(Spacing::tight);
    texts->addWidget(name_);
    texts->addWidget(text_);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(Spacing::normal, Spacing::small, Spacing::normal, Spacing::small);
    row->setSpacing(Spacing::small);
    row->addWidget(new SymbolView(Symbol::unfinished, SymbolTint::secondary, symbolExtent, this), 0, Qt::AlignVCenter);
    row->addLayout(texts, 1);
    row->addWidget(resume_);
    row->addWidget(cancel_);
    connect(resume_, &QPushButton::clicked, this, &UnfinishedUploadRow::resumeTriggered);
    connect(cancel_, &QPushButton::clicked, this, &UnfinishedUploadRow::cancelTriggered);
}

void UnfinishedUploadRow::show(
    const UnfinishedUploadsModel::Item& item, bool canResume, const std::optional<std::string>& cancelRefusal)
{
    item_ = item;
    const QString name = showableName(toQString(item.file.fileName));
    name_->setText(name);
    text_->setText(item.isCancelling ? tr("Cancelling…") : toQString(rowText(item, std::chrono::system_clock::now())));
    if (const auto help = rowHelp(item); !help.empty())
        text_->setToolTip(toQString(help));
    resume_->setVisible(canResume);
    resume_->setEnabled(!item.isCancelling);
    resume_->setAccessibleName(tr("Resume %1").arg(name));
    cancel_->setEnabled(!item.isCancelling && !cancelRefusal);
    cancel_->setToolTip(cancelRefusal ? toQString(*cancelRefusal) : tr("Delete every part uploaded so far, for good"));
    cancel_->setAccessibleName(tr("Cancel Upload of %1").arg(name));
    cancel_->setAccessibleDescription(cancel_->toolTip());
}

void UnfinishedUploadRow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(QRect(0, height() - 1, width(), 1), hairline(palette()));
}
