#include "errors/error_translators.h"

#include "errors/fault_names.h"
#include "errors/qx_exception.h"
#include "platform/faults/hooks.h"
#include "platform/text/error_text.h"

namespace CQXBASE {
namespace {

[[noreturn]] void ThrowWithoutSite(const std::wstring& message) {
    throw QX_Exception(message, std::wstring(), std::wstring(), 0);
}

}  // namespace

void InstallErrorTranslators() noexcept {
    platform::faults::SetFaultTranslator(SeTranslator);
    platform::faults::SetInvalidParameterHandler(InvalidParameterHandler);
    platform::faults::SetPureCallHandler(PurecallHandler);
}

void SeTranslator(unsigned int code, platform::faults::ExceptionPointers* fault) {
    const platform::faults::FaultRecord record = platform::faults::RecordOf(*fault);
    ThrowWithoutSite(platform::text::FaultText(FaultName(code), record.address, record.code));
}

void InvalidParameterHandler(const wchar_t* expression, const wchar_t*, const wchar_t*,
                             unsigned int, std::uintptr_t) {
    if (expression == nullptr) {
        ThrowWithoutSite(L"call function error.");
    }
    ThrowWithoutSite(platform::text::ExpressionText(expression));
}

void PurecallHandler() {
    ThrowWithoutSite(L"In _purecall_handler.");
}

}  // namespace CQXBASE
