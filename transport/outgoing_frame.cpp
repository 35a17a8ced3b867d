#include "transport/outgoing_frame.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>

#include "errors/qx_exception.h"
#include "objects/encoding/cdr_memory.h"

namespace CQXBASE {
namespace {

constexpr int kLittleEndian = 1;
constexpr std::size_t kMemcpyTradeoff = 256;

/// Room for `size` bytes behind the alignment of the first, never wrapping round to less.
std::size_t Capacity(std::size_t size) {
    const std::size_t bytes = std::max<std::size_t>(size, ACE_CDR::DEFAULT_BUFSIZE);
    return std::max(bytes, bytes + ACE_CDR::MAX_ALIGNMENT);
}

}  // namespace

OutgoingFrame::Memory OutgoingFrame::Zeroed(std::size_t size) {
    constexpr std::size_t kAbsurd = std::numeric_limits<std::size_t>::max() / 2;
    Memory memory(size < kAbsurd ? static_cast<char*>(std::calloc(1, size)) : nullptr);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

OutgoingFrame::OutgoingFrame(QXIOBase& object)
    : size_(object.size()),
      capacity_(Capacity(size_)),
      memory_(Zeroed(capacity_)),
      body_(memory_.get(), capacity_, kLittleEndian, encoding::CdrMemory::Instance(),
            encoding::CdrMemory::Instance(), encoding::CdrMemory::Instance(), kMemcpyTradeoff, 1,
            2),
      header_(headerMemory_.data(), headerMemory_.size(), kLittleEndian,
              encoding::CdrMemory::Instance(), encoding::CdrMemory::Instance(),
              encoding::CdrMemory::Instance(), kMemcpyTradeoff, 1, 2) {
    if (object.toCDR(body_) == 0 || !body_.good_bit()) {
        QXDB_THROW(L"object can't be encoded, send error.", L"qxio",
                   L"CQXBASE::OutgoingFrame::OutgoingFrame");
    }
}

int OutgoingFrame::MaxLength() const noexcept {
    constexpr auto kLargest = static_cast<std::size_t>(std::numeric_limits<int>::max());
    return size_ > kLargest ? -1 : static_cast<int>(size_);
}

}  // namespace CQXBASE
