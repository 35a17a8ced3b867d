// What many sessions leave behind in the server.
#pragma once

#include "plan.h"

namespace qxdb_soak {

/// Opens plan.sessions sessions one after the other, in several threads, and ends them in all the
/// ways there are; prints what the server's process holds then. True when nothing has grown.
bool CountLeftovers(const Plan& plan);

}  // namespace qxdb_soak
