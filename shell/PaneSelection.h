#pragma once

#include "foundation/Observable.h"
#include "shell/AppContext.h"

#include <memory>
#include <optional>
#include <string>

class B2Session;
class BrowserModel;
class BucketsModel;
class Settings;

/// A row of the sidebar: a surface of the account, or a bucket.
struct SidebarItem {
    std::optional<AccountSurface> surface; ///< Unset for a bucket.
    std::string bucketID = {};

    static SidebarItem bucket(std::string bucketID) { return {std::nullopt, std::move(bucketID)}; }

    bool operator==(const SidebarItem&) const = default;
};

/// Which pane is in front: the sidebar's selection, kept in step with the browser, the bucket list, requests from menus
/// and other windows, and the settings.
///
/// Lives on the main thread. A selection stays when a new list lacks its bucket: the user chooses another, the program
/// does not.
class PaneSelection final : public Observable {
public:
    /// Everything given here outlives the selection.
    PaneSelection(Settings& settings, AppContext& context, const BucketsModel& buckets, BrowserModel& browser);

    Observed<std::optional<SidebarItem>> item{this};

    /// Shows a pane; a bucket is remembered for the next start with this key.
    void select(const SidebarItem& chosen);

    /// Selects the bucket shown last with this key, else the first, unless something is selected.
    void restore();

    /// Opens the selected bucket in the browser, with the key that listed it.
    void show();

    /// Takes a bucket that is gone out of the selection.
    void forget(const std::string& bucketID);

    /// Is the selected bucket in the list?
    bool isListed() const;

private:
    void followBrowser();
    void remember(const std::string& bucketID);

    Settings& settings_;
    AppContext& context_;
    const BucketsModel& buckets_;
    BrowserModel& browser_;
    int seenRequest_;
};
