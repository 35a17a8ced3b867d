// The lock behind auto_lock.
#pragma once

#include <exception>
#include <optional>

#include "platform/recursive_lock.h"

namespace CQXBASE {

/// Failure of a critical_section; what() tells which.
class critical_section_error : public std::exception {
  public:
    /// `text` is a literal.
    explicit critical_section_error(const char* text) noexcept : text_(text) {}
    const char* what() const noexcept override { return text_; }

  private:
    const char* text_;
};

/// Recursive lock: the thread that holds it may lock it again, and unlocks it as often. Usable from
/// any thread.
class critical_section {
  public:
    critical_section();  ///< throws critical_section_error "critical_section init exception"
    virtual ~critical_section();  ///< nobody holds it
    critical_section(const critical_section&) = delete;
    critical_section& operator=(const critical_section&) = delete;

    void lock();             ///< throws critical_section_error "critical_section lock exception"
    void unlock() noexcept;  ///< the calling thread holds the lock

  private:
    std::optional<platform::RecursiveLock> lock_;
};

}  // namespace CQXBASE
