#pragma once

#include "foundation/Observable.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// A sentence above the panes, with at most one action.
struct Notice {
    enum class Kind { information, success, warning, failure };

    std::string id; ///< What the notice is about ("settings"); a newer one about the same takes its place.
    Kind kind = Kind::information;
    std::string text;
    std::string actionTitle; ///< Empty without an action.
    std::function<void()> action;
    std::function<void()> closed; ///< After the user has closed it.
};

/// Whatever the user should know in front of any pane, each until it is dismissed or no longer true. Lives on the main
/// thread.
class Notices final : public Observable {
public:
    using Observable::Observable;

    Observed<std::vector<Notice>> all{this}; ///< The oldest first.

    /// Shows the notice, in place of an older one with the same id. One with the same text as well stays where it is.
    void post(Notice notice);

    /// Takes the notice away; does nothing when there is none with the id.
    void dismiss(const std::string& id);

    /// The user has closed the notice.
    void close(const std::string& id);

    /// The newest notice, which is the one to show; null when there is none.
    const Notice* newest() const { return all->empty() ? nullptr : &all->back(); }

    /// The notice of an id, or null.
    const Notice* find(const std::string& id) const;
};
