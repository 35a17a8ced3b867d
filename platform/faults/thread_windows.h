// What the fault handlers have to know about its thread.
#pragma once

#include <windows.h>

#include "platform/faults/hooks.h"

namespace CQXBASE::platform::faults {

struct ThreadFaults {
    FaultTranslator translator = nullptr;
    const FaultRegion* innermost = nullptr;  ///< lies in the frame that catches
    bool translating = false;
    bool overflowed = false;  ///< the guard page of the stack has to be set up again
    EXCEPTION_RECORD record = {};
};

/// Null on a thread that never entered a region. Allocates nothing: for use in the handler.
ThreadFaults* ExistingThread() noexcept;

/// The calling thread's, made at its first call and freed at the thread's end; null without memory.
ThreadFaults* CurrentThread() noexcept;

/// Keeps the thread's last error, which a look at its data would reset.
class LastErrorKept {
  public:
    LastErrorKept() noexcept : error_(GetLastError()) {}
    ~LastErrorKept() { SetLastError(error_); }
    LastErrorKept(const LastErrorKept&) = delete;
    LastErrorKept& operator=(const LastErrorKept&) = delete;

  private:
    DWORD error_;
};

}  // namespace CQXBASE::platform::faults
