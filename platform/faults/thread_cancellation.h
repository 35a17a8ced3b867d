// The unwinding of a cancelled thread, which a handler has to let through.
#pragma once

#ifndef _WIN32
#include <cxxabi.h>
#endif

namespace CQXBASE::platform::faults {

#ifdef _WIN32
struct ThreadCancellation {};  // threads aren't cancelled by unwinding here
#else
using ThreadCancellation = abi::__forced_unwind;
#endif

}  // namespace CQXBASE::platform::faults
