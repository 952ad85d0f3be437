#include "localb2/Seed.h"

#include "localb2/Encoding.h"

#include <stdexcept>

namespace localb2 {

void plantSeed(Core& core, std::string_view seed)
{
    const std::scoped_lock lock(core.mutex);
    if (!core.keys.accounts().empty())
        return;
    // All or nothing: a seed that was cut short is planted again at the next start.
    Change change(core);
    const auto account = core.keys.createAccount("owner@example.com");
    if (seed == "demo") {
        plantDemo(core, account.id);
    } else if (seed.starts_with("big:")) {
        const auto count = wholeNumber(seed.substr(4));
        if (!count)
            throw std::runtime_error("The seed \"" + std::string(seed) + "\" has no number of versions.");
        plantBig(core, account.id, *count);
    } else if (!seed.empty()) {
        plantFile(core, account.id, seed);
    }
    change.commit();
    core.database.execute("PRAGMA wal_checkpoint(TRUNCATE)");
}

} // namespace localb2
