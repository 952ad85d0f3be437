#include "foundation/Notices.h"

#include <algorithm>
#include <utility>

void Notices::post(Notice notice)
{
    all.update([&](std::vector<Notice>& notices) {
        const auto known = std::ranges::find(notices, notice.id, &Notice::id);
        if (known == notices.end())
            notices.push_back(std::move(notice));
        else
            *known = std::move(notice);
    });
}

void Notices::dismiss(const std::string& id)
{
    if (find(id))
        all.update([&](std::vector<Notice>& notices) {
            std::erase_if(notices, [&](const Notice& notice) { return notice.id == id; });
        });
}

const Notice* Notices::find(const std::string& id) const
{
    const auto found = std::ranges::find(*all, id, &Notice::id);
    return found == all->end() ? nullptr : &*found;
}
