#include "transport/receive_block.h"

#include <algorithm>
#include <cerrno>
#include <new>

namespace CQXBASE {
namespace {

/// Size to give a block that has memory for `capacity` bytes and needs `needed` of the final
/// `whole`.
std::uint64_t NextSize(std::uint64_t capacity, std::uint64_t needed, std::uint64_t whole) {
    if (whole <= std::max<std::uint64_t>(capacity, kReadChunk)) {
        return whole;
    }
    return needed <= capacity ? capacity : std::min(whole, std::max(needed, 2 * capacity));
}

}  // namespace

BlockPtr NewBlock(std::size_t size) {
    BlockPtr block(new (std::nothrow) ACE_Message_Block(size));
    if (block != nullptr && (block->data_block() == nullptr || block->base() == nullptr)) {
        block.reset();
    }
    if (block == nullptr) {
        errno = ENOMEM;
    }
    return block;
}

bool ResetBlock(BlockPtr& block) {
    if (block == nullptr) {
        block = NewBlock(kFirstBlockSize);
        return block != nullptr;
    }
    block->size(kFirstBlockSize);
    block->reset();
    return true;
}

bool MakeRoom(ACE_Message_Block& block, std::size_t count, std::uint64_t wholeSize) {
    const auto written = static_cast<std::uint64_t>(block.wr_ptr() - block.base());
    const std::uint64_t needed = written + count;
    const std::uint64_t size = NextSize(block.capacity(), needed, std::max(needed, wholeSize));
    if (block.size(static_cast<std::size_t>(size)) == 0) {
        return true;
    }
    errno = ENOMEM;
    return false;
}

}  // namespace CQXBASE
