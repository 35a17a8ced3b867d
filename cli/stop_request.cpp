#include "cli/stop_request.h"

#include <cstdlib>

#include "cli/exit_status.h"

namespace CQXCLI {

StopRequest::StopRequest()
    : signals_(
          [this] {
              if (made_.exchange(true)) {
                  std::_Exit(kFailed);
              }
          },
          [] {}) {}

}  // namespace CQXCLI
