#include "transport/outgoing_frame.h"

#include <cstdlib>
#include <limits>
#include <new>

#include <ace/Malloc_Allocator.h>

#include "errors/qx_exception.h"

namespace CQXBASE {
namespace {

constexpr int kLittleEndian = 1;
constexpr std::size_t kMemcpyTradeoff = 256;
constexpr std::size_t kHeaderStreamSize = 24;

/// ACE leaves alignment bytes as they are. Zeroed memory keeps what was there before off the wire.
class ZeroedMemory : public ACE_New_Allocator {
  public:
    void* malloc(std::size_t size) override { return std::calloc(1, size); }
    void free(void* memory) override { std::free(memory); }
};

ACE_Allocator* Zeroed() {
    static ZeroedMemory memory;
    return &memory;
}

}  // namespace

OutgoingFrame::OutgoingFrame(QXIOBase& object)
    : size_(object.size()),
      body(size_, kLittleEndian, Zeroed(), nullptr, nullptr, kMemcpyTradeoff, 1, 2),
      header(kHeaderStreamSize, kLittleEndian, Zeroed(), nullptr, nullptr, kMemcpyTradeoff, 1, 2) {
    if (body.begin()->base() == nullptr || header.begin()->base() == nullptr) {
        throw std::bad_alloc();
    }
    object.toCDR(body);
    if (!body.good_bit()) {
        QXDB_THROW(L"object can't be encoded, send error.", L"qxio",
                   L"CQXBASE::OutgoingFrame::OutgoingFrame");
    }
}

int OutgoingFrame::MaxLength() const noexcept {
    constexpr auto kLargest = static_cast<std::size_t>(std::numeric_limits<int>::max());
    return size_ > kLargest ? -1 : static_cast<int>(size_);
}

}  // namespace CQXBASE
