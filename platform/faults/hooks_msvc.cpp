#include <eh.h>
#include <malloc.h>
#include <stdlib.h>
#include <windows.h>

#include "platform/faults/hooks.h"

namespace CQXBASE::platform::faults {
namespace {

thread_local FaultTranslator tTranslator = nullptr;
thread_local const FaultRegion* tInnermost = nullptr;
thread_local bool tOverflowed = false;

void Translate(unsigned int code, EXCEPTION_POINTERS* pointers) {
    tOverflowed = tOverflowed || code == kStackOverflow;
    tTranslator(code, pointers);
}

}  // namespace

FaultRecord RecordOf(const ExceptionPointers& pointers) noexcept {
    const EXCEPTION_RECORD& record = *pointers.ExceptionRecord;
    return {record.ExceptionCode, reinterpret_cast<std::uintptr_t>(record.ExceptionAddress)};
}

void SetFaultTranslator(FaultTranslator translator) noexcept {
    tTranslator = translator;
    _set_se_translator(Translate);
}

void SetInvalidParameterHandler(InvalidParameterHandler handler) noexcept {
    _set_invalid_parameter_handler(handler);
}

void SetPureCallHandler(PureCallHandler handler) noexcept {
    _set_purecall_handler(handler);
}

FaultRegion::FaultRegion() noexcept : outer_(tInnermost) {
    tInnermost = this;
}

FaultRegion::~FaultRegion() {
    tInnermost = outer_;
    if (tOverflowed) {
        tOverflowed = _resetstkoflw() == 0;  // refused while the stack is still deep
    }
}

void CallInRegion(void (*body)(void*), void* object) {
    body(object);
}

bool InFaultRegion() noexcept {
    return tInnermost != nullptr;
}

}  // namespace CQXBASE::platform::faults
