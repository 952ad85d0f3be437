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
    bool isDismissible = true;
};

/// Notices shown whatever pane is in front, the oldest first. Lives on the main thread.
class Notices final : public Observable {
public:
    using Observable::Observable;

    Observed<std::vector<Notice>> all{this};

    /// Shows the notice; one with the same id is replaced in its place.
    void post(Notice notice);

    /// Removes the notice; does nothing if there is none with the id.
    void dismiss(const std::string& id);

    /// Returns the notice with the id, or null.
    const Notice* find(const std::string& id) const;
};
