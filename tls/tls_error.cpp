#include "tls/tls_error.h"

#include <array>
#include <utility>

#include <openssl/err.h>

#include "util/text.h"

namespace CQXBASE::tls {
namespace {

std::string ReasonOf(unsigned long error) {
    if (ERR_SYSTEM_ERROR(error)) {
        std::array<char, 256> text{};
        ERR_error_string_n(error, text.data(), text.size());
        const std::string whole = text.data();
        return whole.substr(whole.rfind(':') + 1);
    }
    const char* const reason = ERR_reason_error_string(error);
    return reason != nullptr ? reason : "error " + std::to_string(ERR_GET_REASON(error));
}

}  // namespace

TlsError::TlsError(Failure failure)
    : failure_(std::move(failure)), what_(WideToUtf8(failure_.text)) {}

void ForgetErrors() noexcept {
    ERR_clear_error();
}

std::string TakeErrors() {
    std::string all;
    while (const unsigned long error = ERR_get_error()) {
        const std::string reason = ReasonOf(error);
        // One failure often stands there several times, as each layer has met it.
        const bool told = ERR_GET_REASON(error) == ERR_R_SYS_LIB && !all.empty();
        if (!told && (all.size() < reason.size() ||
                      all.compare(all.size() - reason.size(), reason.size(), reason) != 0)) {
            all += (all.empty() ? "" : "; ") + reason;
        }
    }
    return all;
}

}  // namespace CQXBASE::tls
