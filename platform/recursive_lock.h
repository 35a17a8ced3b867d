// The platform's recursive lock.
#pragma once

#include <memory>

namespace CQXBASE::platform {

/// Owned by one thread at a time, any number of times over.
class RecursiveLock {
  public:
    /// `spinCount`: tries before a waiting thread sleeps, where the platform lets one choose.
    /// Throws std::system_error when the platform has no lock to give.
    explicit RecursiveLock(unsigned spinCount);
    ~RecursiveLock();
    RecursiveLock(const RecursiveLock&) = delete;
    RecursiveLock& operator=(const RecursiveLock&) = delete;

    void Enter();  ///< throws std::system_error when the platform refuses
    void Leave() noexcept;

  private:
    struct Native;
    std::unique_ptr<Native> native_;
};

}  // namespace CQXBASE::platform
