// Texts of errors, as the platform's own formatting makes them.
#pragma once

#include <cstdint>
#include <string>

namespace CQXBASE::platform::text {

constexpr std::size_t kErrorTextCapacity = 600;  ///< wide characters, terminator included

/// A processor fault; of the address the low 32 bits are shown.
std::wstring FaultText(const wchar_t* name, std::uintptr_t address, std::uint32_t code);
/// What a checking runtime refused. A long expression is cut to the capacity.
std::wstring ExpressionText(const wchar_t* expression);
/// "description(code).", with a long description cut to leave the code in place.
std::wstring CodedText(const std::wstring& description, int code);

}  // namespace CQXBASE::platform::text
