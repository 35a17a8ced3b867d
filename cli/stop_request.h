// A wish to stop that comes from the keyboard or the operating system.
#pragma once

#include <atomic>

#include "platform/console/stop_signals.h"

namespace CQXCLI {

/// While it lives, Ctrl-C and a termination signal only set a flag, so that work can end at a good
/// place; a second one ends the process at once. Make it before any other thread starts.
class StopRequest {
  public:
    StopRequest();
    bool Made() const noexcept { return made_; }

  private:
    std::atomic<bool> made_{false};
    CQXBASE::platform::console::StopSignals signals_;
};

}  // namespace CQXCLI
