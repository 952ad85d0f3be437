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
#include "foundation/views/panes/LoadingLine.h"
#include "foundation/views/panes/PathBar.h"
#include "foundation/views/panes/StatusLine.h"
#include "foundation/views/tables/DenseTableView.h"

#include <QPushButton>

#include <chrono>

namespace {

/// An expired key is refused however often it asks.
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
        showNotice({});

    mode_->setMode(*model_.mode);
    mode_->setEnabled(model_.bucket->has_value());
    filter_->setEnabled(model_.bucket->has_value());
    if (fromQString(filter_->text()) != *model_.rows.filter)
        filter_->setText(toQString(*model_.rows.filter));
    loading_->setLoading(*model_.isLoading);
    renderPath();
    tableState_->showOrder(*model_.rows.sortOrder);
    rows_.setInFlight(*model_.inFlight);
    keepPlace([this] { rows_.show(*model_.rows.shown); });
    if (isElsewhere)
        table_->scrollToTop();
    renderContent();
    selectArrival();
    renderBanner();
    renderStatus();
    loadMoreAtEnd();
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
            // A restricted key cannot go above its own prefix.
            const auto& reachable = step.prefix.starts_with(root) ? step.prefix : root;
            segments.append({toQString(step.name), toQString(reachable), {}});
        }
        // The prefix of a restricted key may end within a name, and is then not a folder.
        if (!model_.prefix->empty() && !model_.prefix->ends_with('/'))
            segments.last().title += QStringLiteral("…");
    }
    path_->setSegments(segments);
}

void ObjectBrowserView::renderBanner()
{
    const bool isCentred = model_.rows.entries->empty();
    showFailure(isCentred ? std::nullopt : *model_.error, retryVerb(*model_.session));
}

void ObjectBrowserView::renderContent()
{
    const auto& session = *model_.session;
    const bool isEmpty = model_.rows.entries->empty();
    const auto refusal = session ? listRefusal(session->authorization) : std::nullopt;
    firstAction_ = nullptr;
    if (!*model_.bucket) {
        showBlank();
    } else if (refusal) {
        showMessage({Symbol::lock, tr("Files cannot be listed"), toQString(*refusal), {}, {}});
    } else if (*model_.isLoading && isEmpty) {
        showWaiting({Symbol::cloud, tr("Reading “%1”…").arg(placeName()), {}, {}, {}});
    } else if (isEmpty && *model_.error) {
        firstAction_ = &BrowserModel::retry;
        showMessage({Symbol::error, tr("Couldn't read “%1”").arg(placeName()), toQString(**model_.error),
            retryVerb(session), {}});
    } else if (isEmpty) {
        const bool isCurrent = *model_.mode == BrowserMode::current;
        showMessage({Symbol::folderOpen, model_.prefix->empty() ? tr("Empty bucket") : tr("Empty folder"),
            QString::fromUtf8(isCurrent ? BrowserHelp::emptyCurrent : BrowserHelp::emptyAllVersions),
            isCurrent ? tr("Show All Versions") : QString(),
            commands().upload && commands().upload->isEnabled ? tr("Upload Files…") : QString()});
    } else if (rows_.rowCount() == 0 && !model_.rows.filter->empty()) {
        showMessage({Symbol::filter, tr("No name matches"),
            tr("No name contains “%1”. %2.")
                .arg(toQString(shownText(*model_.rows.filter)), toQString(filterNote(*model_.hasMore))),
            tr("Clear Filter"), {}});
    } else {
        showTable();
    }
}

void ObjectBrowserView::selectArrival()
{
    if (!*model_.arrivalID || rows_.rowCount() == 0)
        return;
    if (const int row = rows_.rowOf(**model_.arrivalID); row >= 0)
        selectRow(row, true);
    model_.forgetArrival();
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

    BrowserCounts counts{.loaded = model_.rows.shown->entries.size(),
        .shown = static_cast<std::size_t>(rows_.rowCount()),
        .isFiltered = !model_.rows.filter->empty(),
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
