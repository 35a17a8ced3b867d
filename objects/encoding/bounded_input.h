// A stream whose reader has a say in the memory that objects take.
#pragma once

#include <cstdint>

#include <ace/CDR_Stream.h>

namespace CQXBASE::encoding {

/// Asked before memory is taken for what a peer sent compressed, or in columns.
class DecodeMemory {
  public:
    DecodeMemory() = default;
    virtual ~DecodeMemory() = default;
    DecodeMemory(const DecodeMemory&) = delete;
    DecodeMemory& operator=(const DecodeMemory&) = delete;

    /// False refuses the object.
    virtual bool Take(std::uint64_t bytes) noexcept = 0;
};

class BoundedInput : public ACE_InputCDR {
  public:
    using ACE_InputCDR::ACE_InputCDR;
    DecodeMemory* memory = nullptr;  ///< borrowed; null takes no heed
};

/// Null for any other stream.
inline DecodeMemory* MemoryOf(ACE_InputCDR& in) noexcept {
    const auto* const bounded = dynamic_cast<BoundedInput*>(&in);
    return bounded != nullptr ? bounded->memory : nullptr;
}

}  // namespace CQXBASE::encoding
