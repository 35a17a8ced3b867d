#include "platform/faults/hooks.h"

// Faults and pure virtual calls keep the effect that the host gives them.

namespace CQXBASE::platform::faults {

FaultRecord RecordOf(const ExceptionPointers& pointers) noexcept {
    return *pointers.record;
}

void SetFaultTranslator(FaultTranslator) noexcept {}
void SetInvalidParameterHandler(InvalidParameterHandler) noexcept {}
void SetPureCallHandler(PureCallHandler) noexcept {}

FaultRegion::FaultRegion() noexcept : outer_(nullptr) {}
FaultRegion::~FaultRegion() {
    static_cast<void>(outer_);
}

void CallInRegion(void (*body)(void*), void* object) {
    body(object);
}

bool InFaultRegion() noexcept {
    return false;
}

}  // namespace CQXBASE::platform::faults
