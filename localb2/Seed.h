#pragma once

#include "localb2/Core.h"

#include <string_view>

namespace localb2 {

/// Fills a fresh service: nothing, "demo", "big:N" or the path of a seed file.
///
/// @throws std::runtime_error with a sentence when the seed cannot be understood.
void plantSeed(Core& core, std::string_view seed);

void plantDemo(Core& core, const std::string& accountID);
void plantBig(Core& core, const std::string& accountID, std::int64_t versionCount);
void plantFile(Core& core, const std::string& accountID, const std::filesystem::path& file);

} // namespace localb2
