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
    bool isDismissible = true;
};

/// What the user should know whatever pane is shown, the oldest first. Lives on the main thread.
class Notices final : public Observable {
public:
    using Observable::Observable;

    Observed<std::vector<Notice>> all{this};

    /// Shows the notice; one with the same id is replaced where it stands.
    void post(Notice notice);

    /// Takes the notice away; does nothing when there is none with the id.
    void dismiss(const std::string& id);

    /// The notice of an id, or null.
    const Notice* find(const std::string& id) const;
};
