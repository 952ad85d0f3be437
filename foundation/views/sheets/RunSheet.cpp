#include "foundation/views/sheets/RunSheet.h"

#include "foundation/QtText.h"
#include "foundation/views/ElidedLabel.h"
#include "foundation/views/tables/NameText.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>

RunSheet::RunSheet(const Question& question, std::unique_ptr<ItemRun> run, Texts texts, QWidget* parent)
    : QuestionSheet(question, parent)
    , run_(std::move(run))
    , texts_(std::move(texts))
{
    connect(this, &Sheet::verbTriggered, this, &RunSheet::begin);
    connect(run_.get(), &Observable::changed, this, &RunSheet::render);
}

RunSheet::~RunSheet() = default;

void RunSheet::begin()
{
    if (*run_->phase != ItemRun::Phase::ready)
        return;
    // One item has no progress to show but that of the line above the buttons.
    if (run_->summary->total > 1) {
        bar_ = new QProgressBar(this);
        bar_->setMaximum(run_->summary->total);
        bar_->setTextVisible(false);
        bar_->setAccessibleName(toQString(texts_.progress));
        current_ = new ElidedLabel({}, this);
        current_->setSecondary(true);
        addUnderRows(bar_);
        addUnderRows(current_);
    }
    setCancelText(tr("Stop"));
    hideVerb();
    run_->start();
    render();
    focusCancel();
}

void RunSheet::reject()
{
    if (*run_->phase == ItemRun::Phase::ready || run_->hasEnded())
        QuestionSheet::reject();
    else
        run_->stop();
}

void RunSheet::render()
{
    if (*run_->phase == ItemRun::Phase::ready || isShowingResult_)
        return;
    if (run_->hasEnded())
        showResult();
    else
        showProgress();
}

void RunSheet::showProgress()
{
    const auto& summary = *run_->summary;
    if (bar_) {
        bar_->setValue(summary.done + static_cast<int>(summary.failures.size()));
        current_->setText(
            tr("%1 of %2 · %3").arg(bar_->value()).arg(summary.total).arg(showableName(toQString(*run_->current))));
    }
    const bool isStopping = *run_->phase == ItemRun::Phase::stopping;
    setBusy(true, isStopping ? tr("Stopping…") : toQString(texts_.progress));
}

void RunSheet::showResult()
{
    isShowingResult_ = true;
    setBusy(false);
    if (*run_->phase == ItemRun::Phase::finished) {
        accept();
        return;
    }
    delete bar_;
    delete current_;
    const auto& summary = *run_->summary;
    // The question is answered: nothing of it must look as if it could still be changed.
    removeRows();
    setHeading(*run_->phase == ItemRun::Phase::stopped ? tr("Stopped") : tr("Not Everything Was Done"));
    showOnlyClose(tr("Close"));
    addFailures(summary);
    setMessage(summary.failures.empty() ? MessageKind::warning : MessageKind::danger,
        toQString(runResultText(summary, texts_.words)));
}

void RunSheet::addFailures(const ItemRun::Summary& summary)
{
    // The result names a single one itself.
    if (summary.failures.size() < 2)
        return;
    constexpr int listHeight = 140;
    const auto lines = toQString(failureLines(summary));
    auto* const list = new QPlainTextEdit(lines.trimmed(), this);
    list->setObjectName(QStringLiteral("failures"));
    list->setAccessibleName(tr("Not Done"));
    list->setReadOnly(true);
    list->setTabChangesFocus(true);
    list->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    list->setMinimumHeight(listHeight);
    addWide(list);
    auto* const copy = setVerb(tr("Copy List"));
    copy->setDefault(false);
    copy->setAutoDefault(false);
    connect(copy, &QPushButton::clicked, copy, [copy, lines] {
        QGuiApplication::clipboard()->setText(lines);
        copy->setText(tr("Copied"));
    });
}
