#include "platform/fault_hooks.h"

namespace CQXBASE::platform {

FaultRecord RecordOf(const ExceptionPointers& pointers) noexcept {
    return *pointers.record;
}

void SetFaultTranslator(FaultTranslator) noexcept {}
void SetInvalidParameterHandler(InvalidParameterHandler) noexcept {}
void SetPureCallHandler(PureCallHandler) noexcept {}

FaultRegion::FaultRegion() noexcept {}
FaultRegion::~FaultRegion() {}

}  // namespace CQXBASE::platform
