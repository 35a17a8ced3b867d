// Faults outside the language's exceptions, turned into QX_Exception.
#pragma once

#include <cstdint>

#include "platform/faults/hooks.h"

namespace CQXBASE {

/// Makes the three handlers below those of the calling thread (faults) and of the process (the
/// other two). Cheap to repeat. ProtectedRegion calls it.
void InstallErrorTranslators() noexcept;

/// Throws QX_Exception naming `code`, with the address and code of the record that `fault` points
/// to.
[[noreturn]] void SeTranslator(unsigned int code, platform::faults::ExceptionPointers* fault);

/// Throws QX_Exception with the expression, or "call function error." when there is none. The other
/// arguments are not used.
[[noreturn]] void InvalidParameterHandler(const wchar_t* expression, const wchar_t* function,
                                          const wchar_t* file, unsigned int line,
                                          std::uintptr_t reserved);

/// Throws QX_Exception "In _purecall_handler.".
[[noreturn]] void PurecallHandler();

}  // namespace CQXBASE
