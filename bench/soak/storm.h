// Load while clients, proxies and the server die, and the count of what is left.
#pragma once

#include "plan.h"

namespace qxdb_soak {

/// Prints the counts; true when nothing is missing, doubled or stuck.
bool RunStorm(const Plan& plan);

}  // namespace qxdb_soak
