// The bytes of a column block before compression: little-endian, without alignment.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include <ace/CDR_Base.h>

#include <qxdb/QXBuffer.h>

namespace CQXDB::encoding {

static_assert(ACE_CDR_BYTE_ORDER == 1, "arrays go into a block as they stand in memory");

using PlainBytes = QXBuffer<char>;

template <class T>
void PutArray(PlainBytes& out, const T* values, std::size_t count) {
    out.Append(reinterpret_cast<const char*>(values), count * sizeof(T));
}
template <class T>
void Put(PlainBytes& out, T value) {
    PutArray(out, &value, 1);
}
/// Seven bits a byte, the lowest first; the high bit says that more follow.
inline void PutVarint(PlainBytes& out, std::uint64_t value) {
    for (; value >= 0x80; value >>= 7) {
        out.Push(static_cast<char>(value | 0x80));
    }
    out.Push(static_cast<char>(value));
}
constexpr std::size_t VarintSize(std::uint64_t value) noexcept {
    std::size_t size = 1;
    for (; value >= 0x80; value >>= 7) {
        ++size;
    }
    return size;
}
/// Signed numbers as 0, -1, 1, -2, ... so that small ones stay short.
constexpr std::uint64_t ZigZag(std::int64_t value) noexcept {
    return static_cast<std::uint64_t>(value) << 1 ^ (value < 0 ? ~std::uint64_t{0} : 0);
}
constexpr std::int64_t UnZigZag(std::uint64_t value) noexcept {
    return static_cast<std::int64_t>(value >> 1 ^ ((value & 1) != 0 ? ~std::uint64_t{0} : 0));
}

/// Reads bytes that a peer sent. Every call returns false, or null, past the end.
class PlainReader {
  public:
    PlainReader() noexcept = default;
    PlainReader(const char* bytes, std::size_t size) noexcept : next_(bytes), end_(bytes + size) {}

    std::size_t Left() const noexcept { return static_cast<std::size_t>(end_ - next_); }
    /// The next `size` bytes where they stand.
    const char* Take(std::size_t size) noexcept {
        if (size > Left()) {
            return nullptr;
        }
        const char* taken = next_;
        next_ += size;
        return taken;
    }
    template <class T>
    bool Get(T& value) noexcept {
        const char* bytes = Take(sizeof(T));
        if (bytes != nullptr) {
            std::memcpy(&value, bytes, sizeof(T));
        }
        return bytes != nullptr;
    }
    bool GetVarint(std::uint64_t& value) noexcept {
        std::uint64_t read = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            std::uint8_t byte = 0;
            if (!Get(byte)) {
                return false;
            }
            read |= std::uint64_t{byte & 0x7FU} << shift;
            if (byte < 0x80) {
                value = read;
                return true;
            }
        }
        return false;
    }

    bool GetSigned(std::int64_t& value) noexcept {
        std::uint64_t zigzag = 0;
        const bool read = GetVarint(zigzag);
        value = UnZigZag(zigzag);
        return read;
    }

  private:
    const char* next_ = nullptr;
    const char* end_ = nullptr;
};

}  // namespace CQXDB::encoding
