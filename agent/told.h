// The frame around the agent's operations.
#pragma once

#include <new>
#include <string>

#include <qxdb/DBMgrErrors.h>

#include "util/out_of_memory.h"

namespace CQXDB {

/// Makes a call. A lack of memory, which can strike anywhere in it, becomes a code and a text as
/// any other failure does; what else is thrown goes on to the caller.
template <typename Call>
void Told(long& errCode, std::wstring& errText, const Call& call) {
    try {
        call();
    } catch (const std::bad_alloc&) {
        errCode = DBMGR_OUT_OF_MEMORY;
        CQXBASE::TellOutOfMemory(errText);
    }
}

}  // namespace CQXDB
