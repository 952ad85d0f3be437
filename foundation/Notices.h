#pragma once

#include "foundation/Observable.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// A sentence above the panes, with at most one action.
struct Notice {
    enum class Kind { information, success, warning, failure };

    std::string id; ///< The subject ("settings"); a newer notice with the same id replaces it.
    Kind kind = Kind::information;
    std::string text;
    std::string actionTitle; ///< Empty without an action.
    std::function<void()> action;
    std::function<void()> closed; ///< After the user has closed it.
};

/// Notices shown whatever pane is in front, each until it is dismissed or no longer true. Lives on the main thread.
class Notices final : public Observable {
public:
    using Observable::Observable;

    Observed<std::vector<Notice>> all{this}; ///< The oldest first.

    /// Shows the notice, in place of an older one with the same id; one with the same text too stays where it is.
    void post(Notice notice);

    /// Removes the notice; does nothing if there is none with the id.
    void dismiss(const std::string& id);

    /// Removes the notice because the user has closed it, and reports that to whoever posted it.
    void close(const std::string& id);

    /// Returns the newest notice, which is the one to show; null if there is none.
    const Notice* newest() const { return all->empty() ? nullptr : &all->back(); }

    /// Returns the notice with the id, or null.
    const Notice* find(const std::string& id) const;
};
