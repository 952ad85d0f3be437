#pragma once

#include "accounts/StoredKey.h"
#include "async/Task.h"
#include "foundation/Observable.h"
#include "foundation/settings/Settings.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// The panes of an account that a command may ask the main window to show.
enum class AccountSurface { buckets, storage, keys, search, migrations, replications };

/// The state that menu commands and other windows share with the main window.
///
/// Lives on the main thread, one for the process.
class AppContext final : public Observable {
public:
    explicit AppContext(Settings& settings);

    Observed<std::optional<AccountSurface>> requested{this};
    Observed<int> requestTick{this, 0}; ///< Rises with each request, so that a repeated one is noticed.
    Observed<std::vector<KeyMenuEntry>> keyMenu{this};
    Observed<std::optional<std::string>> currentKeyID{this};
    Observed<int> accountRenameTick{this, 0};
    Observed<int> keysChangedTick{this, 0};

    // Set by the main window's root; they do nothing until then.
    std::function<Task<>(std::string keyID)> selectKey;
    std::function<Task<>()> addKey;

    /// Asks the main window for a pane.
    void request(AccountSurface surface);

    /// Is the transfers panel open? Kept in the settings.
    bool isShowingTransfers() const { return *showingTransfers_; }
    void setShowingTransfers(bool isShowing);

private:
    Settings& settings_;
    Observed<bool> showingTransfers_;
};
