// The number in front of every object that carries columns.
#pragma once

#include <cstdint>

#include "objects/encoding/cdr_fields.h"

namespace CQXDB::encoding {

constexpr std::uint32_t kFormatVersion = 2;

inline bool WriteVersion(ACE_OutputCDR& out) {
    return CQXBASE::encoding::WriteULong(out, kFormatVersion);
}
/// Refuses any other version.
inline bool ReadVersion(ACE_InputCDR& in) {
    std::uint32_t version = 0;
    return CQXBASE::encoding::ReadULong(in, version) &&
           (version == kFormatVersion || CQXBASE::encoding::Refuse(in));
}

}  // namespace CQXDB::encoding
