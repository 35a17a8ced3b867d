// What the memory of decoded columns is charged to.
#pragma once

#include <cstdint>

#include "objects/encoding/bounded_input.h"

namespace CQXDB::encoding {

/// Keeps a few bytes from a peer from claiming billions of rows.
class ExpansionBudget {
  public:
    explicit ExpansionBudget(std::uint64_t bytes = 0,
                             CQXBASE::encoding::DecodeMemory* memory = nullptr) noexcept
        : left_(bytes), memory_(memory) {}
    /// False, and nothing is taken, when less is left.
    bool Take(std::uint64_t bytes) noexcept {
        const bool fits = bytes <= left_ && (memory_ == nullptr || memory_->Take(bytes));
        left_ -= fits ? bytes : 0;
        return fits;
    }

  private:
    std::uint64_t left_;
    CQXBASE::encoding::DecodeMemory* memory_;  ///< borrowed
};

}  // namespace CQXDB::encoding
