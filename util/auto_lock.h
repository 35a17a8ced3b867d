// Scoped ownership of a lock.
#pragma once

namespace CQXBASE {

/// Holds `Section` (lock and unlock members) from construction to destruction. The section outlives
/// the guard.
template <class Section>
class auto_lock {
  public:
    explicit auto_lock(Section& section) : section_(section) { section_.lock(); }
    virtual ~auto_lock() { section_.unlock(); }
    auto_lock(const auto_lock&) = delete;
    auto_lock& operator=(const auto_lock&) = delete;

  private:
    Section& section_;
};

}  // namespace CQXBASE
