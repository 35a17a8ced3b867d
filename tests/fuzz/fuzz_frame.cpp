#include <Poco/Exception.h>

#include "tests/fuzz/fuzz_input.h"
#include "tests/support/Frame.h"

namespace {

using qxdb_test::Cipher;

void CheckHeader(const std::string& bytes) {
    const CQXBASE::FrameHeader header = CQXBASE::DecodeFrameHeader(bytes.data());
    const CQXBASE::FrameHeaderBytes written = CQXBASE::EncodeFrameHeader(header);
    const CQXBASE::FrameHeader again = CQXBASE::DecodeFrameHeader(written.data());
    qxdb_test::Require(
        again.littleEndian == header.littleEndian && again.typeCode == header.typeCode &&
            again.bodyLength == header.bodyLength && again.plainLength == header.plainLength,
        "a header comes back");
}

void CheckBody(const std::string& body) {
    try {
        const std::string plain = Cipher().Decipher(body);
        qxdb_test::Require(plain.size() < body.size(), "plaintext is shorter");
    } catch (const Poco::Exception&) {
        // Refused, as almost every random body is.
    }
    qxdb_test::Require(Cipher().Decipher(Cipher().Encipher(body)) == body,
                       "what was enciphered comes back");
}

}  // namespace

// A whole frame: header and enciphered body.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qxdb_test::FuzzInput input(data, size);
    std::string header = input.Bytes(CQXBASE::kFrameHeaderSize);
    header.resize(CQXBASE::kFrameHeaderSize);
    CheckHeader(header);
    CheckBody(input.Rest());
    return 0;
}
