#include "platform/faults/exception_table.h"

namespace CQXBASE::platform::faults {
namespace {

std::uintptr_t ReadUleb128(const unsigned char*& at) {
    std::uintptr_t value = 0;
    unsigned shift = 0;
    unsigned char byte = 0;
    do {
        byte = *at++;
        value |= static_cast<std::uintptr_t>(byte & 0x7FU) << shift;
        shift += 7;
    } while ((byte & 0x80U) != 0 && shift < 64);
    return value;
}

}  // namespace

bool Covers(const unsigned char* table, std::uintptr_t offset) noexcept {
    constexpr unsigned char omitted = 0xFF;
    constexpr unsigned char uleb128 = 0x01;
    if (*table++ != omitted) {  // landing pads counted from elsewhere
        return true;
    }
    if (*table++ != omitted) {  // size of the type table
        ReadUleb128(table);
    }
    if (*table++ != uleb128) {
        return true;
    }
    const std::uintptr_t bytes = ReadUleb128(table);
    for (const unsigned char* end = table + bytes; table < end;) {
        const std::uintptr_t start = ReadUleb128(table);
        const std::uintptr_t length = ReadUleb128(table);
        ReadUleb128(table);  // landing pad
        ReadUleb128(table);  // action
        if (offset >= start && offset - start < length) {
            return true;
        }
    }
    return false;
}

}  // namespace CQXBASE::platform::faults
