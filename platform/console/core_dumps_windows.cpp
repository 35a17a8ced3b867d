#include "platform/console/core_dumps.h"

namespace CQXBASE::platform::console {

void ForbidCoreDumps() noexcept {}

}  // namespace CQXBASE::platform::console
