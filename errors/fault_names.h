// Symbolic names of exception codes.
#pragma once

#include <cstdint>

namespace CQXBASE {

/// The platform's name of `code`; "unspecified Structed exception." for one without a name.
const wchar_t* FaultName(std::uint32_t code) noexcept;

}  // namespace CQXBASE
