// The block that a frame is received into. It grows with what arrives, not with what a header
// claims.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <ace/Message_Block.h>

namespace CQXBASE {

constexpr std::size_t kFirstBlockSize = 512;
/// Most bytes that one blocking read asks for, and most memory that is made ready ahead of its
/// bytes.
constexpr std::size_t kReadChunk = std::size_t{1024} * 1024;

/// Releases a block instead of deleting it: a write under way may share it.
struct BlockRelease {
    void operator()(ACE_Message_Block* block) const { block->release(); }
};
using BlockPtr = std::unique_ptr<ACE_Message_Block, BlockRelease>;

/// An empty block; null, with errno ENOMEM, when there is no memory.
BlockPtr NewBlock(std::size_t size);

/// Makes an existing block empty and kFirstBlockSize long, or makes one. False, with errno ENOMEM,
/// when there is no memory; then `block` is null.
bool ResetBlock(BlockPtr& block);

/// Room for `count` more bytes behind those in the block, in a block that will end up `wholeSize`
/// long. Doubles what is there, so that all growing together costs no more than copying the frame
/// twice. False, with errno ENOMEM, when there is no memory.
bool MakeRoom(ACE_Message_Block& block, std::size_t count, std::uint64_t wholeSize);

}  // namespace CQXBASE
