// A CDR stream over the bytes of a body that stay where they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include <ace/Message_Block.h>

#include "objects/encoding/bounded_input.h"

namespace CQXBASE {

/// CDR alignment counts from the first byte while the decoder aligns addresses, so bytes that start
/// at an odd address are decoded from a copy.
class AlignedBytes {
  public:
    AlignedBytes(const void* bytes, std::size_t length) : begin_(bytes) {
        if (reinterpret_cast<std::uintptr_t>(bytes) % ACE_CDR::MAX_ALIGNMENT != 0) {
            copy_.resize(length / sizeof(std::uint64_t) + 1);
            begin_ = std::memcpy(copy_.data(), bytes, length);
        }
    }
    const char* Begin() const { return static_cast<const char*>(begin_); }

  private:
    const void* begin_;
    std::vector<std::uint64_t> copy_;
};

/// Unlike ACE's own way to make one it needs no memory, of which a stream would take a lack for
/// granted bytes. `bytes` are aligned and outlive it.
class BorrowedStream {
  public:
    BorrowedStream(const char* bytes, std::size_t length, bool littleEndian = true)
        : block_(length, ACE_Message_Block::MB_DATA, bytes, nullptr, nullptr,
                 ACE_Message_Block::DONT_DELETE, nullptr),
          stream_(&block_, ACE_Message_Block::DONT_DELETE, 0, length, littleEndian ? 1 : 0, 1, 2) {}
    encoding::BoundedInput& Get() noexcept { return stream_; }

  private:
    ACE_Data_Block block_;
    encoding::BoundedInput stream_;
};

}  // namespace CQXBASE
