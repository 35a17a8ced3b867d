// The field encodings that records and objects are made of: numbers, wide strings, narrow strings.
// Everything is in the stream's byte order and alignment; alignment bytes are zero.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include <ace/CDR_Stream.h>

#include "objects/encoding/bounded_input.h"
#include "util/text.h"

namespace CQXBASE::encoding {

constexpr std::size_t kNumberSize = 4;
/// What a string that isn't empty takes beside its units: the count, and room for alignment.
constexpr std::size_t kStringOverhead = 12;

inline std::size_t WideSize(std::wstring_view text) noexcept {
    return text.empty() ? kNumberSize : 2 * Utf16Length(text) + kStringOverhead;
}
inline std::size_t NarrowSize(std::string_view text) noexcept {
    return text.empty() ? kNumberSize : text.size() + kStringOverhead;
}

/// Clears the good bit, which ACE offers no call for. Returns false.
inline bool Refuse(ACE_InputCDR& in) {
    return in.skip_bytes(in.length() + 1);
}

/// Fills up to the next multiple of `alignment` (a power of 2, at most 8) with zeros. ACE's own
/// writers would leave what the buffer held before.
inline bool PadTo(ACE_OutputCDR& out, std::size_t alignment) {
    static constexpr ACE_CDR::Octet kZeros[8] = {};
    const std::size_t spare = (0 - out.current_alignment()) & (alignment - 1);
    return spare == 0 || out.write_octet_array(kZeros, static_cast<ACE_CDR::ULong>(spare));
}

inline bool WriteULong(ACE_OutputCDR& out, std::uint32_t value) {
    return PadTo(out, kNumberSize) && out.write_ulong(value);
}
inline bool WriteLong(ACE_OutputCDR& out, std::int32_t value) {
    return WriteULong(out, static_cast<std::uint32_t>(value));
}
inline bool ReadULong(ACE_InputCDR& in, std::uint32_t& value) {
    return in.read_ulong(value);
}
inline bool ReadLong(ACE_InputCDR& in, std::int32_t& value) {
    return in.read_long(value);
}

/// The count in front of a string or array. One beyond 32 bits is not written: false.
inline bool WriteCount(ACE_OutputCDR& out, std::size_t count) {
    return count <= std::numeric_limits<std::uint32_t>::max() &&
           WriteULong(out, static_cast<std::uint32_t>(count));
}
/// Reads a count of elements of `width` bytes each and refuses one that the stream can't hold.
inline bool ReadCount(ACE_InputCDR& in, std::uint32_t& count, std::size_t width) {
    return ReadULong(in, count) && (count <= in.length() / width || Refuse(in));
}

/// Asks for what `bytes` of text take once they are read; short ones are not worth it.
inline bool TakeText(ACE_InputCDR& in, std::uint64_t bytes) {
    constexpr std::uint64_t kShort = 16384;
    if (bytes <= kShort) {
        return true;
    }
    DecodeMemory* const memory = MemoryOf(in);
    return memory == nullptr || memory->Take(bytes) || Refuse(in);
}

/// A count of UTF-16 units, then the units; no terminator.
inline bool WriteWide(ACE_OutputCDR& out, std::wstring_view text) {
    const std::u16string units = ToUtf16(text);
    return WriteCount(out, units.size()) &&
           (units.empty() ||
            out.write_ushort_array(reinterpret_cast<const ACE_CDR::UShort*>(units.data()),
                                   static_cast<ACE_CDR::ULong>(units.size())));
}
inline bool ReadWide(ACE_InputCDR& in, std::wstring& text) {
    text.clear();
    std::uint32_t count = 0;
    if (!ReadCount(in, count, sizeof(char16_t)) || count == 0) {
        return in.good_bit();
    }
    if (!TakeText(in, (sizeof(char16_t) + sizeof(wchar_t)) * std::uint64_t{count})) {
        return false;
    }
    std::u16string units(count, u'\0');
    if (!in.read_ushort_array(reinterpret_cast<ACE_CDR::UShort*>(units.data()), count)) {
        return false;
    }
    text = FromUtf16(units);
    return true;
}

/// A count of bytes, then the bytes; no terminator.
inline bool WriteNarrow(ACE_OutputCDR& out, std::string_view text) {
    return WriteCount(out, text.size()) &&
           (text.empty() ||
            out.write_char_array(text.data(), static_cast<ACE_CDR::ULong>(text.size())));
}
inline bool ReadNarrow(ACE_InputCDR& in, std::string& text) {
    text.clear();
    std::uint32_t count = 0;
    if (!ReadCount(in, count, 1) || count == 0) {
        return in.good_bit();
    }
    if (!TakeText(in, count)) {
        return false;
    }
    text.resize(count);
    return in.read_char_array(text.data(), count);
}

}  // namespace CQXBASE::encoding
