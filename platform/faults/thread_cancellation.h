// The unwinding of a cancelled thread, which a handler has to let through.
#pragma once

#ifndef _WIN32
#include <cxxabi.h>
#endif

namespace CQXBASE::platform::faults {

#if defined(__GLIBCXX__) && !defined(_WIN32)
using ThreadCancellation = abi::__forced_unwind;
#else
struct ThreadCancellation {};  // not told apart, or threads aren't cancelled by unwinding
#endif

}  // namespace CQXBASE::platform::faults
