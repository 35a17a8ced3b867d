#include <cstdio>

#include "platform/console/error_stream.h"

namespace CQXBASE::platform::console {

std::size_t WriteError(std::string_view bytes, std::chrono::milliseconds /*patience*/) noexcept {
    const std::size_t written = std::fwrite(bytes.data(), 1, bytes.size(), stderr);
    std::fflush(stderr);
    std::clearerr(stderr);
    return written;
}

}  // namespace CQXBASE::platform::console
