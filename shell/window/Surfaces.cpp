#include "shell/window/Surfaces.h"

#include "shell/window/KeysSurface.h"

#include <QCoreApplication>

#include <algorithm>
#include <vector>

namespace {

QString surfaceTitle(const char* title)
{
    return QCoreApplication::translate("Surfaces", title);
}

} // namespace

std::span<const Surface> surfaces()
{
    static const std::vector<Surface> all = {
        {AccountSurface::keys, 0, surfaceTitle("Application Keys"), Symbol::key, Qt::CTRL | Qt::Key_3, makeKeysPane},
    };
    return all;
}

const Surface* surfaceOf(AccountSurface kind)
{
    const auto found = std::ranges::find(surfaces(), kind, &Surface::kind);
    return found == surfaces().end() ? nullptr : &*found;
}
