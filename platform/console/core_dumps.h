// What is left of a process that crashes.
#pragma once

namespace CQXBASE::platform::console {

/// Has the system write no memory of this process to a file when it crashes, and lets no other
/// process of the same user look into it. On Windows that is the system's own setting.
void ForbidCoreDumps() noexcept;

}  // namespace CQXBASE::platform::console
