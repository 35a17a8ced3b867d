// Lets the n-th call of a kind fail, in this process or in one that was started for it.
#pragma once

#include <cstdint>
#include <string>

#include "tests/injection/fault_plan.h"

namespace qxdb_test {

/// What one call does instead of succeeding.
struct Fault {
    const char* name;
    Calls calls;
    int error;     ///< errno, or kShortTransfer
    bool lasting;  ///< all later calls fail too, until Disarm
};

class Injection {
  public:
    /// This process, the calling thread alone.
    Injection();
    /// Another process, all threads: makes the file of its plan, which Environment() tells it of.
    explicit Injection(std::string planFile);
    ~Injection();
    Injection(const Injection&) = delete;
    Injection& operator=(const Injection&) = delete;

    /// The `first`-th call from now on fails.
    void Arm(const Fault& fault, long first) noexcept;
    /// Gives how many calls failed.
    long Disarm() noexcept;
    /// Allocations of the process that are not freed.
    long Live() const noexcept { return plan_->live; }
    /// What loads the interposer into the other process, "NAME=value" each.
    std::string PreloadVariable() const;
    std::string PlanVariable() const;

  private:
    FaultPlan* plan_;
    std::string planFile_;  ///< "" for this process
};

}  // namespace qxdb_test
