#include "localb2/Content.h"

#include <algorithm>

namespace localb2 {

std::vector<Slice> slicesOf(Core& core, const FileVersion& version, std::int64_t offset, std::int64_t length)
{
    std::vector<Slice> slices;
    if (length == 0)
        return slices;
    if (version.body) {
        core.bodies.appendSlice(slices, *version.body, offset, length);
        return slices;
    }
    std::int64_t partStart = 0;
    for (const auto& part : core.versions.parts(version.sequence)) {
        const auto first = std::max(offset, partStart);
        const auto last = std::min(offset + length, partStart + part.length);
        if (first < last)
            core.bodies.appendSlice(slices, part.body, first - partStart, last - first);
        partStart += part.length;
    }
    return slices;
}

void eraseWithContent(Core& core, const FileVersion& version)
{
    if (version.body)
        core.bodies.removeUser(*version.body);
    if (version.isLarge || !version.body) {
        for (const auto& part : core.versions.parts(version.sequence))
            core.bodies.removeUser(part.body);
        core.versions.eraseParts(version.sequence);
    }
    core.versions.erase(version);
}

} // namespace localb2
