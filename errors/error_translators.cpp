#include "errors/error_translators.h"

#include <cwchar>

#include "errors/fault_names.h"
#include "errors/qx_exception.h"
#include "platform/fault_hooks.h"

namespace CQXBASE {
namespace {

constexpr std::size_t kTextCapacity = 600;  // wide characters, terminator included

[[noreturn]] void ThrowWithoutSite(const std::wstring& message) {
    throw QX_Exception(message, std::wstring(), std::wstring(), 0);
}

}  // namespace

void InstallErrorTranslators() noexcept {
    platform::SetFaultTranslator(SeTranslator);
    platform::SetInvalidParameterHandler(InvalidParameterHandler);
    platform::SetPureCallHandler(PurecallHandler);
}

void SeTranslator(unsigned int code, platform::ExceptionPointers* fault) {
    const platform::FaultRecord record = platform::RecordOf(*fault);
    wchar_t text[kTextCapacity] = {};
    std::swprintf(text, kTextCapacity, L"%ls\n address:\t0x%08lx code:\t\t%lu", FaultName(code),
                  static_cast<unsigned long>(record.address & 0xFFFFFFFFU),
                  static_cast<unsigned long>(record.code));
    ThrowWithoutSite(text);
}

void InvalidParameterHandler(const wchar_t* expression, const wchar_t*, const wchar_t*,
                             unsigned int, std::uintptr_t) {
    if (expression == nullptr) {
        ThrowWithoutSite(L"call function error.");
    }
    ThrowWithoutSite((L"Expression: " + std::wstring(expression)).substr(0, kTextCapacity - 1));
}

void PurecallHandler() {
    ThrowWithoutSite(L"In _purecall_handler.");
}

}  // namespace CQXBASE
