// The memory that a request takes once it is decoded.
#pragma once

#include <cstddef>
#include <cstdint>

#include "objects/encoding/bounded_input.h"
#include "server/byte_budget.h"

namespace CQXSERVER::requests {

/// Takes it out of the budget of the buffers, up to `most` bytes, and gives it back at its end.
class RequestMemory : public CQXBASE::encoding::DecodeMemory {
  public:
    RequestMemory(ByteBudget& budget, std::size_t most) noexcept
        : lease_(budget), besides_(budget), most_(most) {}

    bool Take(std::uint64_t bytes) noexcept override {
        tooMuch_ = tooMuch_ || bytes > most_ - taken_;
        usedUp_ = usedUp_ || (!tooMuch_ && !lease_.GrowTo(taken_ + bytes));
        taken_ += tooMuch_ || usedUp_ ? 0 : bytes;
        return !tooMuch_ && !usedUp_;
    }
    /// The same for what has no part in `most`: a deciphered body, which is no longer than the
    /// frame. False when the budget had no more.
    bool TakeBesides(std::size_t bytes) noexcept {
        usedUp_ = usedUp_ || !besides_.GrowTo(bytes);
        return !usedUp_;
    }
    bool TooMuch() const noexcept { return tooMuch_; }  ///< more than `most` was asked for
    bool UsedUp() const noexcept { return usedUp_; }    ///< the budget had no more

  private:
    ByteLease lease_;
    ByteLease besides_;
    const std::size_t most_;
    std::size_t taken_ = 0;
    bool tooMuch_ = false;
    bool usedUp_ = false;
};

}  // namespace CQXSERVER::requests
