#include "foundation/Notices.h"

#include <algorithm>
#include <utility>

void Notices::post(Notice notice)
{
    all.update([&](std::vector<Notice>& notices) {
        const auto known = std::ranges::find(notices, notice.id, &Notice::id);
        if (known == notices.end()) {
            notices.push_back(std::move(notice));
        } else if (known->text == notice.text) {
            *known = std::move(notice);
        } else {
            notices.erase(known);
            notices.push_back(std::move(notice));
        }
    });
}

void Notices::dismiss(const std::string& id)
{
    if (!find(id))
        return;
    all.update([&](std::vector<Notice>& notices) {
        std::erase_if(notices, [&](const Notice& notice) { return notice.id == id; });
    });
}

void Notices::close(const std::string& id)
{
    const auto* const notice = find(id);
    if (!notice)
        return;
    const auto closed = notice->closed;
    dismiss(id);
    if (closed)
        closed();
}

const Notice* Notices::find(const std::string& id) const
{
    const auto found = std::ranges::find(*all, id, &Notice::id);
    return found == all->end() ? nullptr : &*found;
}
