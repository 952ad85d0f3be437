#include "localb2/Seed.h"

namespace localb2 {

void plantDemo(Core& core, const std::string&)
{
    core.keys.createAccount("neighbour@example.com");
}

} // namespace localb2
