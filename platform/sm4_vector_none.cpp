#include "platform/sm4_vector.h"

namespace CQXBASE::platform {

bool DecipherSm4Cbc(const unsigned char* /*key*/, const unsigned char* /*previous*/,
                    const char* /*cipherText*/, char* /*plain*/, std::size_t /*length*/) noexcept {
    return false;
}

}  // namespace CQXBASE::platform
