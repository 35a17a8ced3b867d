#include <memory>

#include "proxy/base64.h"
#include "tests/fuzz/fuzz_input.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    int length = 0;
    // Without a terminator behind the text, so that a read beyond it is seen.
    const std::string decoded =
        CQXBASE::Base64Decode(reinterpret_cast<const char*>(data), static_cast<int>(size), length);
    qxdb_test::Require(static_cast<std::size_t>(length) == decoded.size(), "the length is counted");
    const std::string encoded = CQXBASE::Base64Encode(data, static_cast<int>(size));
    int count = 0;
    const std::string back =
        CQXBASE::Base64Decode(encoded.data(), static_cast<int>(encoded.size()), count);
    qxdb_test::Require(back == std::string(reinterpret_cast<const char*>(data), size),
                       "what was encoded comes back");
    return 0;
}
