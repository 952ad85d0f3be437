#include "shell/PaneSelection.h"

#include "browser/BrowserModel.h"
#include "buckets/BucketsModel.h"
#include "foundation/settings/Settings.h"
#include "foundation/settings/SettingsKeys.h"

#include <utility>

PaneSelection::PaneSelection(
    Settings& settings, AppContext& context, const BucketsModel& buckets, BrowserModel& browser)
    : settings_(settings)
    , context_(context)
    , buckets_(buckets)
    , browser_(browser)
    , seenRequest_(*context.requestTick)
{
    connect(&browser_, &Observable::changed, this, &PaneSelection::followBrowser);
    connect(&context_, &Observable::changed, this, [this] {
        if (std::exchange(seenRequest_, *context_.requestTick) != *context_.requestTick && *context_.requested
            && *buckets_.session)
            select({*context_.requested});
    });
}

void PaneSelection::select(const SidebarItem& chosen)
{
    item = chosen;
    if (!chosen.surface && buckets_.bucket(chosen.bucketID))
        remember(chosen.bucketID);
    show();
}

void PaneSelection::remember(const std::string& bucketID)
{
    if (const auto session = *buckets_.session)
        settings_.set(SettingsKeys::lastBucket(session->key->keyID), bucketID);
}

void PaneSelection::restore()
{
    const auto session = *buckets_.session;
    if (!session || buckets_.buckets->empty() || *item)
        return;
    const auto last = settings_.text(SettingsKeys::lastBucket(session->key->keyID));
    const B2Bucket* bucket = last ? buckets_.bucket(*last) : nullptr;
    if (!bucket)
        bucket = &buckets_.buckets->front();
    item = SidebarItem::bucket(bucket->bucketID);
}

void PaneSelection::show()
{
    // A bucket is opened with the key that listed it, not with one that has connected a moment ago.
    const auto session = *buckets_.session;
    if (!session || !*item)
        return;
    const B2Bucket* const bucket = isListed() ? buckets_.bucket((*item)->bucketID) : nullptr;
    if (!bucket) {
        // Rows listed by another key must not stay behind the notice or another pane.
        if (*browser_.session != session)
            browser_.close();
        return;
    }
    const auto& shown = *browser_.bucket;
    if (*browser_.session == session && shown && shown->bucketID == bucket->bucketID)
        return;
    browser_.open(session, *bucket);
}

void PaneSelection::forget(const std::string& bucketID)
{
    if (*item && !(*item)->surface && (*item)->bucketID == bucketID)
        item = std::nullopt;
    browser_.forget(bucketID);
}

bool PaneSelection::isListed() const
{
    return *item && !(*item)->surface && buckets_.bucket((*item)->bucketID);
}

// Back and Forward lead to other buckets too.
void PaneSelection::followBrowser()
{
    const auto& shown = *browser_.bucket;
    if (!shown || !*item || (*item)->surface || *browser_.session != *buckets_.session
        || (*item)->bucketID == shown->bucketID)
        return;
    if (!buckets_.bucket(shown->bucketID)) {
        // A bucket that is no longer in the list is shown under no other bucket's name.
        browser_.forget(shown->bucketID);
        show();
        return;
    }
    item = SidebarItem::bucket(shown->bucketID);
    remember(shown->bucketID);
}
