#include "storage/unfinished/views/UnfinishedUploadsView.h"

#include "foundation/QtText.h"
#include "foundation/views/Labels.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/panes/LoadingLine.h"
#include "foundation/views/tables/NameText.h"
#include "storage/unfinished/UnfinishedUploadTexts.h"
#include "storage/unfinished/views/UnfinishedUploadRow.h"

#include <QKeyEvent>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace {

constexpr int listHeight = 280;
constexpr int sheetWidth = 600;
constexpr int longestName = 360; ///< In the question before a cancel.

} // namespace

UnfinishedUploadsView::UnfinishedUploadsView(UnfinishedUploadsModel& model, Actions actions, QWidget* parent)
    : Sheet(tr("Unfinished Uploads"),
          tr("These uploads stopped before they finished. Their parts are stored and billed until you resume or cancel "
             "them."),
          parent)
    , model_(model)
    , actions_(std::move(actions))
    , pages_(new QStackedWidget)
    , message_(new EmptyState)
    , rowsPage_(new QWidget)
    , rowsLayout_(new QVBoxLayout(rowsPage_))
    , showMore_(new QPushButton(rowsPage_))
    , footer_(makeSecondaryLabel({}))
    , recheck_(new QPushButton(tr("Recheck Sizes")))
    , loading_(new LoadingLine)
{
    setMinimumWidth(sheetWidth);
    addWide(makeContent());
    addWide(makeFooter());
    setCancelText(tr("Done"));
    connect(&model_, &Observable::changed, this, &UnfinishedUploadsView::render);
    connect(recheck_, &QPushButton::clicked, this, [this] { model_.refreshSizes(); });
    connect(message_, &EmptyState::firstActionTriggered, this, [this] { model_.load(); });
    connect(showMore_, &QPushButton::clicked, this, [this] {
        maxRows_ += rowsAtFirst;
        render();
    });
}

QWidget* UnfinishedUploadsView::makeContent()
{
    rowsLayout_->setContentsMargins({});
    rowsLayout_->setSpacing(0);
    rowsLayout_->addWidget(showMore_, 0, Qt::AlignHCenter);
    rowsLayout_->addStretch(1);
    auto* const scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(rowsPage_);
    pages_->addWidget(scroll);
    pages_->addWidget(message_);
    pages_->setFixedHeight(listHeight);
    pages_->setFocusPolicy(Qt::ClickFocus);
    auto* const content = new QWidget;
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins({});
    column->setSpacing(0);
    column->addWidget(loading_);
    column->addWidget(pages_);
    return content;
}

QWidget* UnfinishedUploadsView::makeFooter()
{
    recheck_->setToolTip(tr("Read the stored sizes again"));
    auto* const footer = new QWidget;
    auto* const row = new QHBoxLayout(footer);
    row->setContentsMargins({});
    row->addWidget(footer_, 1);
    row->addWidget(recheck_);
    return footer;
}

void UnfinishedUploadsView::showEvent(QShowEvent* event)
{
    if (!std::exchange(hasAsked_, true))
        model_.load();
    render();
    Sheet::showEvent(event);
}

void UnfinishedUploadsView::keyPressEvent(QKeyEvent* event)
{
    // A second Return is meant for the button that is disabled for now, not for "Done".
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (!isReturn || !isFocusParked_ || pages_ != focusWidget())
        Sheet::keyPressEvent(event);
}

void UnfinishedUploadsView::render()
{
    const auto& items = *model_.items;
    loading_->setLoading(*model_.isLoading);
    renderRows();
    renderMessage();
    pages_->setCurrentIndex(items.empty() ? 1 : 0);
    footer_->setText(items.empty() ? QString() : toQString(footerText(items)));
    const bool canRecheck = !items.empty() && !*model_.isLoading;
    if (!canRecheck && recheck_ == focusWidget())
        parkFocus();
    recheck_->setEnabled(canRecheck);
    if (canRecheck && std::exchange(isFocusParked_, false) && pages_ == focusWidget())
        recheck_->setFocus(Qt::OtherFocusReason);
    QString error = resumeRefusal_.value_or(QString());
    if (error.isEmpty() && !items.empty() && *model_.error)
        error = toQString(**model_.error);
    setMessage(MessageKind::warning, error);
}

void UnfinishedUploadsView::renderRows()
{
    const auto& items = *model_.items;
    const auto count = std::min(items.size(), maxRows_);
    const auto refusal = model_.cancelRefusal();
    // A row keeps its widget, and so the focus, as long as its upload is listed.
    std::vector<UnfinishedUploadRow*> kept;
    for (std::size_t i = 0; i < count; ++i) {
        const auto found = std::ranges::find_if(rows_,
            [&](const UnfinishedUploadRow* row) { return row && row->item().file.fileID == items[i].file.fileID; });
        kept.push_back(found == rows_.end() ? addRow() : std::exchange(*found, nullptr));
        if (rowsLayout_->indexOf(kept.back()) != static_cast<int>(i))
            rowsLayout_->insertWidget(static_cast<int>(i), kept.back());
        const bool canResume = actions_.resumeAction && actions_.canResume && items[i].file.fileID
            && actions_.canResume(*items[i].file.fileID);
        if (items[i].isCancelling && kept.back()->isAncestorOf(focusWidget()))
            parkFocus();
        kept.back()->show(items[i], canResume, refusal);
    }
    for (auto* const gone : std::exchange(rows_, std::move(kept))) {
        if (!gone)
            continue;
        if (gone->isAncestorOf(focusWidget()))
            parkFocus();
        gone->hide();
        gone->deleteLater();
    }
    if (items.size() <= count && showMore_ == focusWidget())
        parkFocus();
    showMore_->setVisible(items.size() > count);
    showMore_->setText(tr("Show %1 More").arg(std::min(items.size() - count, rowsAtFirst)));
}

void UnfinishedUploadsView::parkFocus()
{
    // A hidden or disabled button passes the focus to a neighbour, and the next Return would resume or delete.
    pages_->setFocus(Qt::OtherFocusReason);
    isFocusParked_ = true;
}

UnfinishedUploadRow* UnfinishedUploadsView::addRow()
{
    auto* const row = new UnfinishedUploadRow(rowsPage_);
    connect(row, &UnfinishedUploadRow::resumeTriggered, this, [this, row] {
        resumeRefusal_.reset();
        tasks_.start(runResume(this, row->item().file.fileID.value_or("")));
    });
    connect(row, &UnfinishedUploadRow::cancelTriggered, this, [this, row] { askToCancel(row->item()); });
    return row;
}

void UnfinishedUploadsView::renderMessage()
{
    if (*model_.error) {
        message_->showText(Symbol::warning, tr("Could not read unfinished uploads"), toQString(**model_.error));
        message_->setActions(tr("Try Again"));
    } else if (*model_.hasLoaded) {
        message_->showText(
            Symbol::checkCircle, tr("Nothing Abandoned"), tr("Every large-file upload in this bucket completed."));
        message_->setActions({});
    } else {
        message_->showText(Symbol::unfinished, tr("Looking for unfinished uploads…"), {});
        message_->setActions({});
    }
}

Task<> UnfinishedUploadsView::runResume(QPointer<UnfinishedUploadsView> view, std::string fileID)
{
    if (!view)
        co_return;
    const auto action = view->actions_.resumeAction;
    const auto refusal = co_await action(std::move(fileID));
    if (!view)
        co_return;
    if (refusal) {
        view->resumeRefusal_ = toQString(*refusal);
        view->render();
        co_return;
    }
    Q_EMIT view->resumed();
    // It is in the queue and leaves the list.
    view->model_.load();
}

void UnfinishedUploadsView::askToCancel(const UnfinishedUploadsModel::Item& item)
{
    const QFontMetrics metrics(textFont(TextSize::title, QFont::DemiBold));
    const QString name = elidedName(showableName(toQString(item.file.fileName)), metrics, longestName);
    const auto question = cancelQuestion(item, fromQString(name));
    auto* const sheet = new Sheet(toQString(question.title), toQString(question.text), this);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->setObjectName(QStringLiteral("cancelQuestion"));
    sheet->setDestructiveVerb(tr("Cancel Upload"));
    sheet->setCancelText(tr("Keep Upload"));
    connect(sheet, &Sheet::verbTriggered, sheet, &QDialog::accept);
    connect(sheet, &QDialog::accepted, this, [this, item] {
        resumeRefusal_.reset();
        model_.cancel(item);
    });
    sheet->open();
}
