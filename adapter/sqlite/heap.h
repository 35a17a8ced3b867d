// The memory that statements of confined connections take.
#pragma once

#include <cstddef>
#include <cstdint>

#include "adapter/sqlite/timer.h"

namespace CQXDB::adapter::sqlite {

/// Bounds what all heaps of the process hold together, and each at a quarter of it; beyond that
/// SQLite gets no memory, which it reports as SQLITE_NOMEM. False, without effect, once SQLite is
/// in use.
bool LimitHeaps(std::size_t bytes) noexcept;

/// What the statements of one connection hold. Counts nothing unless LimitHeaps was called.
class SqliteHeap {
  public:
    SqliteHeap() = default;
    ~SqliteHeap();
    SqliteHeap(const SqliteHeap&) = delete;
    SqliteHeap& operator=(const SqliteHeap&) = delete;

    /// Within it the thread's allocations belong to the heap.
    class Scope {
      public:
        /// Null belongs to nobody.
        explicit Scope(SqliteHeap* heap) noexcept;
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

      private:
        SqliteHeap* const outer_;
    };

    /// Nothing is taken after the timer's end while it is set; null, as at first, sets none.
    void SetTimer(SqliteTimer* timer) noexcept { timer_ = timer; }

    bool Take(std::int64_t bytes) noexcept;
    void Give(std::int64_t bytes) noexcept { used_ -= bytes; }
    /// What is reserved and not used goes back to the others.
    void GiveBackSpare() noexcept;

  private:
    std::int64_t used_ = 0;  ///< below 0 when more was freed within scopes than allocated
    std::int64_t reserved_ = 0;
    SqliteTimer* timer_ = nullptr;
};

}  // namespace CQXDB::adapter::sqlite
