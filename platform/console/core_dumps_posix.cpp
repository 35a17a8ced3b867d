#include <sys/prctl.h>
#include <sys/resource.h>

#include "platform/console/core_dumps.h"

namespace CQXBASE::platform::console {

void ForbidCoreDumps() noexcept {
    const rlimit none{};
    setrlimit(RLIMIT_CORE, &none);
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);  // dumps that go to a program heed no limit
}

}  // namespace CQXBASE::platform::console
