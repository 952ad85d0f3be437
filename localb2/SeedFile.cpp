#include "localb2/Seed.h"

namespace localb2 {

void plantFile(Core&, const std::string&, const std::filesystem::path&) {}

} // namespace localb2
