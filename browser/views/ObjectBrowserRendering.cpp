// The half of the pane that copies the model's state to the widgets.

#include "accounts/ExpiryNotice.h"
#include "browser/BrowserTexts.h"
#include "browser/PrefixPath.h"
#include "browser/RowTexts.h"
#include "browser/actions/BrowserActions.h"
#include "browser/views/ModeControl.h"
#include "browser/views/ObjectBrowserView.h"
#include "browser/views/UploadDrops.h"
#include "foundation/QtText.h"
#include "foundation/views/SearchField.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/panes/LoadingLine.h"
#include "foundation/views/panes/PathBar.h"
#include "foundation/views/panes/StatusLine.h"
#include "foundation/views/tables/DenseTableView.h"

#include <QHeaderView>
#include <QPersistentModelIndex>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStackedWidget>

#include <chrono>

namespace {

/// A key whose time is over is not heard at another try either.
QString retryVerb(const std::shared_ptr<B2Session>& session)
{
    const bool isOver = session && endedKeyText(session->authorization, std::chrono::system_clock::now());
    return isOver ? QString() : ObjectBrowserView::tr("Try Again");
}

} // namespace

void ObjectBrowserView::render()
{
    const auto place = *model_.bucket ? (*model_.bucket)->bucketID + '/' + *model_.prefix : std::string();
    const bool isElsewhere = place != place_;
    place_ = place;
    if (isElsewhere)
        notice_.reset();
    if (dismissedError_ && *model_.error != dismissedError_)
        dismissedError_.reset();

    mode_->setMode(*model_.mode);
    mode_->setEnabled(model_.bucket->has_value());
    filter_->setEnabled(model_.bucket->has_value());
    if (fromQString(filter_->text()) != *model_.filter)
        filter_->setText(toQString(*model_.filter));
    loading_->setLoading(*model_.isLoading);
    renderPath();
    renderSort();
    rows_.setInFlight(*model_.inFlight);
    renderRows();
    if (isElsewhere)
        table_->scrollToTop();
    renderContent();
    selectArrival();
    renderBanner();
    renderStatus();
    loadMoreAtEnd();
}

// Rows that come above do not move what the user looks at.
void ObjectBrowserView::renderRows()
{
    const bool isResorted = *model_.sortOrder != renderedOrder_;
    auto* const bar = table_->verticalScrollBar();
    const QPersistentModelIndex anchor =
        bar->value() > 0 && !isResorted ? rows_.index(table_->rowAt(0), 0) : QModelIndex();
    const int before = anchor.isValid() ? table_->rowViewportPosition(anchor.row()) : 0;
    rows_.show(*model_.shown);
    if (!anchor.isValid())
        return;
    if (const int moved = table_->rowViewportPosition(anchor.row()) - before; moved != 0) {
        table_->doItemsLayout();
        bar->setValue(bar->value() + moved);
    }
}

void ObjectBrowserView::renderSort()
{
    const auto& order = *model_.sortOrder;
    if (order.empty())
        return;
    const auto keys = browserColumnKeys();
    const auto section = static_cast<int>(std::ranges::find(keys, order.front().key) - keys.begin());
    auto* const header = table_->horizontalHeader();
    const auto direction = order.front().ascending ? Qt::AscendingOrder : Qt::DescendingOrder;
    if (header->sortIndicatorSection() != section || header->sortIndicatorOrder() != direction) {
        const QSignalBlocker blocker(header);
        header->setSortIndicator(section, direction);
        header->viewport()->update();
    }
    renderedOrder_ = order;
}

void ObjectBrowserView::renderPath()
{
    QList<PathSegment> segments;
    if (*model_.bucket) {
        const auto& bucket = **model_.bucket;
        const auto root = model_.rootPrefix();
        const auto symbol = bucket.bucketType.isPublic() ? Symbol::bucketPublic : Symbol::bucketPrivate;
        segments.append({toQString(bucket.bucketName), toQString(root), symbol});
        for (const auto& step : folderSteps(*model_.prefix)) {
            // A restricted key's way up ends where its reach does.
            const auto& reachable = step.prefix.starts_with(root) ? step.prefix : root;
            segments.append({toQString(step.name), toQString(reachable), {}});
        }
        // The reach of a restricted key may end within a name, which is no folder.
        if (!model_.prefix->empty() && !model_.prefix->ends_with('/'))
            segments.last().title += QStringLiteral("…");
    }
    path_->setSegments(segments);
}

void ObjectBrowserView::renderBanner()
{
    const bool isCentred = model_.entries->empty() && *model_.error;
    if (*model_.error && !isCentred && !dismissedError_) {
        const auto sentence = toQString(**model_.error);
        if (!banner_->isVisibleTo(this) || banner_->text() != sentence)
            banner_->showMessage(MessageKind::danger, sentence, retryVerb(*model_.session));
    } else if (notice_) {
        if (!banner_->isVisibleTo(this) || banner_->text() != *notice_)
            banner_->showMessage(MessageKind::warning, *notice_);
    } else {
        banner_->dismiss();
    }
}

void ObjectBrowserView::renderContent()
{
    const auto& session = *model_.session;
    const bool isFirst = model_.entries->empty();
    const auto refusal = session ? listRefusal(session->authorization) : std::nullopt;
    const bool isWaiting = *model_.isLoading && isFirst;
    if (!isWaiting)
        patience_.stop();
    firstAction_ = nullptr;
    if (!*model_.bucket) {
        showPage(Page::blank);
    } else if (refusal) {
        showMessage(static_cast<int>(Symbol::lock), tr("Files cannot be listed"), toQString(*refusal));
    } else if (isWaiting) {
        if (pages_->currentWidget() == blank_ && !patience_.isActive()) {
            showMessage(static_cast<int>(Symbol::cloud), tr("Reading “%1”…").arg(placeName()), {});
        } else if (pages_->currentWidget() != message_ || !patience_.isActive()) {
            showPage(Page::blank);
            patience_.start();
        }
    } else if (isFirst && *model_.error) {
        firstAction_ = &BrowserModel::retry;
        showMessage(static_cast<int>(Symbol::error), tr("Couldn't read “%1”").arg(placeName()),
            toQString(**model_.error), retryVerb(session));
    } else if (isFirst) {
        const bool isCurrent = *model_.mode == BrowserMode::current;
        showMessage(static_cast<int>(Symbol::folderOpen),
            model_.prefix->empty() ? tr("Empty bucket") : tr("Empty folder"),
            QString::fromUtf8(isCurrent ? BrowserHelp::emptyCurrent : BrowserHelp::emptyAllVersions),
            isCurrent ? tr("Show All Versions") : QString(),
            commands().upload && commands().upload->isEnabled ? tr("Upload Files…") : QString());
    } else if (rows_.rowCount() == 0 && !model_.filter->empty()) {
        showMessage(static_cast<int>(Symbol::filter), tr("No name matches"),
            tr("No name holds “%1”. %2.")
                .arg(toQString(shownText(*model_.filter)), toQString(filterNote(*model_.hasMore))),
            tr("Clear Filter"));
    } else {
        showPage(Page::table);
    }
}

void ObjectBrowserView::showMessage(
    int symbol, const QString& title, const QString& body, const QString& first, const QString& second)
{
    message_->showText(static_cast<Symbol>(symbol), title, body);
    message_->setActions(first, second);
    showPage(Page::message);
}

void ObjectBrowserView::showPage(Page page)
{
    const bool hadFocus = table_->hasFocus() || message_->isAncestorOf(focusWidget());
    pages_->setCurrentIndex(static_cast<int>(page));
    if (hadFocus && page == Page::table)
        table_->setFocus(Qt::OtherFocusReason);
    else if (hadFocus && page == Page::blank)
        setFocus(Qt::OtherFocusReason);
}

void ObjectBrowserView::selectArrival()
{
    if (!*model_.arrivalID || rows_.rowCount() == 0)
        return;
    if (const int row = rows_.rowOf(**model_.arrivalID); row >= 0) {
        const auto index = rows_.index(row, 0);
        table_->selectionModel()->setCurrentIndex(
            index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        table_->scrollTo(index, QAbstractItemView::PositionAtCenter);
    }
    model_.arrivalID = std::nullopt;
}

QString ObjectBrowserView::placeName() const
{
    const auto name = model_.prefix->empty() ? (*model_.bucket)->bucketName : lastComponent(*model_.prefix);
    return toQString(shownText(name));
}

void ObjectBrowserView::renderStatus()
{
    const auto rows = selected();
    updateCommands(rows);
    drops_->setPlace(*model_.bucket ? (*model_.bucket)->bucketID : std::string(), *model_.prefix);

    BrowserCounts counts{.loaded = model_.shown->entries.size(),
        .shown = static_cast<std::size_t>(rows_.rowCount()),
        .isFiltered = !model_.filter->empty(),
        .hasMore = *model_.hasMore,
        .selected = rows.size()};
    for (const auto* row : rows) {
        if (row->kind != RowKind::folder)
            counts.selectedBytes = counts.selectedBytes.value_or(0) + row->file.contentLength;
    }
    const auto& session = *model_.session;
    const bool isRefused = session && listRefusal(session->authorization);
    const bool isShown = *model_.bucket && !isRefused && (counts.loaded > 0 || (!*model_.isLoading && !*model_.error));
    status_->setText(isShown ? toQString(statusText(counts)) : QString());
    if (counts.isFiltered) {
        status_->setDetail(toQString(filterNote(counts.hasMore)));
        status_->setToolTip({});
    } else if (*model_.cachedAt) {
        status_->setDetail(toQString(cachedText(**model_.cachedAt, std::chrono::system_clock::now())));
        status_->setToolTip(QString::fromUtf8(BrowserHelp::cached));
    } else {
        status_->setDetail({});
        status_->setToolTip({});
    }
    loadMore_->setVisible(*model_.hasMore);
    loadMore_->setEnabled(!*model_.isLoading);
}
