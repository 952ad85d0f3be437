#include "foundation/views/tables/TablePane.h"

#include "foundation/QtText.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/panes/LoadingLine.h"
#include "foundation/views/panes/StatusLine.h"
#include "foundation/views/tables/DenseTableView.h"
#include "foundation/views/tables/KeyedRowsModel.h"

#include <QAbstractButton>
#include <QApplication>
#include <QBoxLayout>
#include <QItemSelectionModel>
#include <QPersistentModelIndex>
#include <QScrollBar>
#include <QStackedWidget>

#include <algorithm>
#include <utility>

TablePane::TablePane(Settings& settings, ActivityLog& log, QWidget* parent)
    : Pane(parent)
    , table_(new DenseTableView)
    , loading_(new LoadingLine)
    , banner_(new Banner)
    , blank_(new QWidget)
    , message_(new EmptyState)
    , status_(new StatusLine)
    , settings_(settings)
    , log_(log)
    , pages_(new QStackedWidget)
{
    pages_->addWidget(table_);
    for (QWidget* const page : std::initializer_list<QWidget*>{blank_, message_}) {
        page->setBackgroundRole(QPalette::Base);
        page->setAutoFillBackground(true);
        pages_->addWidget(page);
    }
    patience_.setSingleShot(true);
    patience_.setInterval(LoadingLine::delayMilliseconds);
    connect(&patience_, &QTimer::timeout, this, [this] { present(waitingMessage_); });
    connect(banner_, &Banner::closed, this, [this] {
        dismissedFailure_ = failure_;
        notice_.reset();
    });
}

void TablePane::build(KeyedRowsModel& rows, TableDescription description, std::initializer_list<QWidget*> bars)
{
    rows_ = &rows;
    table_->setModel(&rows);
    tableState_ = new TableState(*table_, std::move(description), settings_, log_);

    // Tab goes through the parts in the order in which they become children.
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    for (QWidget* const bar : bars)
        column->addWidget(bar);
    column->addWidget(loading_);
    column->addWidget(banner_);
    column->addWidget(pages_, 1);
    column->addWidget(status_);
    setFocusProxy(table_);
}

void TablePane::takeFocus()
{
    if (isTableShown()) {
        table_->setFocus(Qt::OtherFocusReason);
        return;
    }
    for (auto* const button : message_->findChildren<QAbstractButton*>()) {
        if (button->isVisible() && button->isEnabled()) {
            button->setFocus(Qt::OtherFocusReason);
            return;
        }
    }
    setFocus(Qt::OtherFocusReason);
}

bool TablePane::isTableShown() const
{
    return pages_->currentWidget() == table_;
}

void TablePane::showTable()
{
    isWaiting_ = false;
    showPage(table_);
}

void TablePane::showBlank()
{
    isWaiting_ = false;
    showPage(blank_);
}

void TablePane::showMessage(const Message& message)
{
    isWaiting_ = false;
    present(message);
}

void TablePane::showWaiting(const Message& message)
{
    waitingMessage_ = message;
    if (!isWaiting_) {
        isWaiting_ = true;
        showPage(blank_);
        patience_.start();
    } else if (!patience_.isActive()) {
        present(message);
    }
}

void TablePane::present(const Message& message)
{
    message_->showText(message.symbol, message.title, message.text);
    message_->setActions(message.firstAction, message.secondAction);
    showPage(message_);
}

void TablePane::showPage(QWidget* page)
{
    if (!isWaiting_)
        patience_.stop();
    const bool hadFocus = table_->hasFocus() || message_->isAncestorOf(QApplication::focusWidget());
    pages_->setCurrentWidget(page);
    if (hadFocus && page == table_)
        table_->setFocus(Qt::OtherFocusReason);
    else if (hadFocus && page == blank_)
        setFocus(Qt::OtherFocusReason);
}

void TablePane::showFailure(const std::optional<std::string>& sentence, const QString& action)
{
    failure_ = sentence;
    failureAction_ = action;
    if (dismissedFailure_ != failure_)
        dismissedFailure_.reset();
    renderBanner();
}

void TablePane::showNotice(std::optional<QString> sentence)
{
    notice_ = std::move(sentence);
    renderBanner();
}

void TablePane::renderBanner()
{
    // A screen reader hears a message each time it is shown, so an equal one is left alone.
    const auto show = [this](MessageKind kind, const QString& sentence, const QString& action) {
        if (!banner_->isVisibleTo(this) || banner_->text() != sentence)
            banner_->showMessage(kind, sentence, action);
    };
    if (failure_ && failure_ != dismissedFailure_)
        show(MessageKind::danger, toQString(*failure_), failureAction_);
    else if (notice_)
        show(MessageKind::warning, *notice_, {});
    else
        banner_->dismiss();
}

std::vector<int> TablePane::selectedRows() const
{
    // By ranges: an index for each of 100,000 selected rows would take longer than a frame.
    std::vector<int> rows;
    for (const auto& range : table_->selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.push_back(row);
    }
    std::ranges::sort(rows);
    const auto repeated = std::ranges::unique(rows);
    rows.erase(repeated.begin(), repeated.end());
    return rows;
}

void TablePane::selectRow(int row, bool centres)
{
    const auto index = rows_->index(row);
    table_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    table_->scrollTo(index, centres ? QAbstractItemView::PositionAtCenter : QAbstractItemView::EnsureVisible);
}

void TablePane::reveal(const std::string& key)
{
    revealed_ = key;
    revealIfListed();
}

void TablePane::revealIfListed()
{
    const int row = revealed_ ? rows_->rowOf(*revealed_) : -1;
    if (row < 0)
        return;
    selectRow(row);
    revealed_.reset();
}

void TablePane::keepPlace(const std::function<void()>& changeRows)
{
    auto* const bar = table_->verticalScrollBar();
    const QPersistentModelIndex anchor = bar->value() > 0 ? rows_->index(table_->rowAt(0)) : QModelIndex();
    const int before = anchor.isValid() ? table_->rowViewportPosition(anchor.row()) : 0;
    changeRows();
    if (!anchor.isValid())
        return;
    if (const int moved = table_->rowViewportPosition(anchor.row()) - before; moved != 0) {
        table_->doItemsLayout();
        bar->setValue(bar->value() + moved);
    }
}
