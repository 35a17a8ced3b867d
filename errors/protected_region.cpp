#include "errors/protected_region.h"

#include "errors/error_translators.h"

namespace CQXBASE {

ProtectedRegion::ProtectedRegion() noexcept {
    InstallErrorTranslators();
}

}  // namespace CQXBASE
