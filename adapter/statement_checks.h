// The one check that a statement has as many parameters as it asks for.
#pragma once

#include <cstddef>
#include <string>

#include "adapter/database_error.h"

namespace CQXDB::adapter {

inline void CheckParameterCount(std::size_t wanted, std::size_t given) {
    if (wanted != given) {
        throw DatabaseError(DBMGR_PARAMETER_COUNT, "the statement takes " + std::to_string(wanted) +
                                                       " parameters, and " + std::to_string(given) +
                                                       " were given");
    }
}

}  // namespace CQXDB::adapter
