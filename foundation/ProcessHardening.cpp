#include "foundation/ProcessHardening.h"

#include <sys/prctl.h>
#include <sys/resource.h>

bool hardenProcess()
{
    const rlimit noCore{0, 0};
    const bool hasNoCore = ::setrlimit(RLIMIT_CORE, &noCore) == 0;
    return ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 && hasNoCore;
}
