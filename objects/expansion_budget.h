// What the memory of decoded columns is charged to.
#pragma once

#include <cstdint>

namespace CQXDB {

/// Keeps a few bytes from a peer from claiming billions of rows.
class ExpansionBudget {
  public:
    explicit ExpansionBudget(std::uint64_t bytes = 0) noexcept : left_(bytes) {}
    /// False, and nothing is taken, when less is left.
    bool Take(std::uint64_t bytes) noexcept {
        const bool fits = bytes <= left_;
        left_ -= fits ? bytes : 0;
        return fits;
    }

  private:
    std::uint64_t left_;
};

}  // namespace CQXDB
