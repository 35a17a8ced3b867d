// What wakes an event loop that waits for sockets.
#pragma once

#include <memory>

#include <ace/config-all.h>

namespace CQXBASE::platform::sockets {

/// A handle that is readable from Signal until Clear. Once it is made it needs no memory, and on
/// Linux no network either, so that a signal doesn't get lost.
class Wakeup {
  public:
    Wakeup();
    ~Wakeup();
    Wakeup(const Wakeup&) = delete;
    Wakeup& operator=(const Wakeup&) = delete;

    /// ACE_INVALID_HANDLE when the system refused one.
    ACE_HANDLE Handle() const noexcept;
    void Signal() noexcept;  ///< from any thread
    void Clear() noexcept;

  private:
    struct Native;
    std::unique_ptr<Native> native_;
};

}  // namespace CQXBASE::platform::sockets
