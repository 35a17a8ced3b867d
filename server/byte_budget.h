// One bound on the memory that many buffers share.
#pragma once

#include <atomic>
#include <cstddef>
#include <utility>

namespace CQXSERVER {

/// Thread-safe. Whoever took bytes gives the same number back.
class ByteBudget {
  public:
    explicit ByteBudget(std::size_t bytes) noexcept : left_(bytes) {}
    ByteBudget(const ByteBudget&) = delete;
    ByteBudget& operator=(const ByteBudget&) = delete;

    /// Takes all or nothing.
    bool Take(std::size_t bytes) noexcept {
        std::size_t left = left_.load(std::memory_order_relaxed);
        while (left >= bytes) {
            if (left_.compare_exchange_weak(left, left - bytes, std::memory_order_relaxed)) {
                return true;
            }
        }
        short_.store(true, std::memory_order_relaxed);
        return false;
    }
    /// True when a Take has failed since this was asked last.
    bool WasShort() noexcept { return short_.exchange(false, std::memory_order_relaxed); }
    std::size_t Left() const noexcept { return left_.load(std::memory_order_relaxed); }
    void Give(std::size_t bytes) noexcept { left_.fetch_add(bytes, std::memory_order_relaxed); }

  private:
    std::atomic<std::size_t> left_;
    std::atomic<bool> short_{false};
};

/// What one buffer holds of a budget; gives it back at its end. Small buffers are not counted, so
/// that small requests are served while large ones have used the budget up.
class ByteLease {
  public:
    static constexpr std::size_t kUncounted = 16384;

    /// Up to `uncounted` bytes are free.
    explicit ByteLease(ByteBudget& budget, std::size_t uncounted = kUncounted) noexcept
        : budget_(&budget), uncounted_(uncounted) {}
    ByteLease(ByteLease&& other) noexcept
        : budget_(other.budget_), uncounted_(other.uncounted_), bytes_(other.bytes_) {
        other.bytes_ = 0;
    }
    ByteLease& operator=(ByteLease&& other) noexcept {
        Release();
        budget_ = other.budget_;
        uncounted_ = other.uncounted_;
        bytes_ = std::exchange(other.bytes_, 0);
        return *this;
    }
    ~ByteLease() { Release(); }

    /// Brings the lease to `bytes`, or returns false and leaves it as it was.
    bool GrowTo(std::size_t bytes) noexcept {
        if (bytes > uncounted_ && bytes > bytes_) {
            if (!budget_->Take(bytes - bytes_)) {
                return false;
            }
            bytes_ = bytes;
        }
        return true;
    }
    std::size_t Bytes() const noexcept { return bytes_; }
    const ByteBudget& Budget() const noexcept { return *budget_; }
    void Release() noexcept {
        budget_->Give(bytes_);
        bytes_ = 0;
    }

  private:
    ByteBudget* budget_;  ///< borrowed; outlives every lease
    std::size_t uncounted_;
    std::size_t bytes_ = 0;
};

}  // namespace CQXSERVER
