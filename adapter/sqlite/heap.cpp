#include "adapter/sqlite/heap.h"

#include <atomic>
#include <utility>

#include <sqlite3.h>

namespace CQXDB::adapter::sqlite {
namespace {

/// Heaps take their share of the whole in pieces, so that threads rarely meet.
constexpr std::int64_t kPiece = std::int64_t{1} << 20;

sqlite3_mem_methods usual;  ///< written once, before SQLite is in use
std::int64_t mostOfOne = 0;
std::atomic<std::int64_t> left{0};
thread_local SqliteHeap* current = nullptr;

void* Allocate(int bytes) {
    if (current != nullptr && !current->Take(bytes)) {
        return nullptr;
    }
    void* const block = usual.xMalloc(bytes);
    if (current != nullptr) {
        current->Give(bytes - (block != nullptr ? usual.xSize(block) : 0));
    }
    return block;
}

void Free(void* block) {
    if (current != nullptr && block != nullptr) {
        current->Give(usual.xSize(block));
    }
    usual.xFree(block);
}

void* Reallocate(void* block, int bytes) {
    const int before = usual.xSize(block);
    if (current != nullptr && bytes > before && !current->Take(bytes - before)) {
        return nullptr;
    }
    void* const moved = usual.xRealloc(block, bytes);
    if (current != nullptr) {
        const int taken = bytes > before ? bytes - before : 0;
        current->Give(taken - (moved != nullptr ? usual.xSize(moved) - before : 0));
    }
    return moved;
}

}  // namespace

bool LimitHeaps(std::size_t bytes) noexcept {
    sqlite3_mem_methods own{};
    if (sqlite3_config(SQLITE_CONFIG_GETMALLOC, &own) != SQLITE_OK) {
        return false;
    }
    usual = own;
    own.xMalloc = Allocate;
    own.xFree = Free;
    own.xRealloc = Reallocate;
    left = static_cast<std::int64_t>(bytes);
    mostOfOne = left / 4;
    return sqlite3_config(SQLITE_CONFIG_MALLOC, &own) == SQLITE_OK;
}

SqliteHeap::~SqliteHeap() {
    left += reserved_;
}

bool SqliteHeap::Take(std::int64_t bytes) noexcept {
    if (used_ + bytes > mostOfOne) {
        return false;
    }
    while (used_ + bytes > reserved_) {
        if (timer_ != nullptr && timer_->Over()) {
            return false;
        }
        if (left.fetch_sub(kPiece) < kPiece) {
            left += kPiece;
            return false;
        }
        reserved_ += kPiece;
    }
    used_ += bytes;
    return true;
}

void SqliteHeap::GiveBackSpare() noexcept {
    for (; reserved_ - used_ > 2 * kPiece; reserved_ -= kPiece) {
        left += kPiece;
    }
}

SqliteHeap::Scope::Scope(SqliteHeap* heap) noexcept : outer_(std::exchange(current, heap)) {}

SqliteHeap::Scope::~Scope() {
    if (current != nullptr) {
        current->GiveBackSpare();
    }
    current = outer_;
}

}  // namespace CQXDB::adapter::sqlite
