#include "transport/frame_cipher.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <Poco/Exception.h>
#include <Poco/TemporaryFile.h>
#include <gtest/gtest.h>

#include "tests/support/Hex.h"
#include "transport/frame.h"

namespace CQXBASE {
namespace {

using qxdb_test::FromHex;

std::string Pattern(std::size_t length) {
    std::string bytes(length, '\0');
    for (std::size_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<char>(i * 131 >> 3);
    }
    return bytes;
}

/// What the openssl program makes of `cipherText` under the key as computed outside this library.
std::string DecipheredByProgram(const std::string& cipherText) {
    const Poco::TemporaryFile input;
    const Poco::TemporaryFile output;
    std::ofstream(input.path(), std::ios::binary) << cipherText;
    const std::string command = std::string(QXDB_OPENSSL_PROGRAM) +
                                " enc -d -sm4-cbc -K 0af1b0c6ddba4279d5ebfe725a90973b"
                                " -iv ca06109fcec832668ee4f830f31cd133 -in " +
                                input.path() + " -out " + output.path();
    EXPECT_EQ(std::system(command.c_str()), 0);
    std::ifstream plain(output.path(), std::ios::binary);
    return {std::istreambuf_iterator<char>(plain), {}};
}

TEST(FrameCipher, WorkedExampleOfTheWireFormat) {
    const FrameCipher cipher;
    const std::string plain = FromHex("070000000200000061006200");
    const std::string cipherText = FromHex("d04feb6a1cdafc989be86b63e6075c95");
    EXPECT_EQ(cipher.Encipher(plain), cipherText);
    EXPECT_EQ(cipher.Decipher(cipherText), plain);
    const FrameHeader header{6, 16, 12, true};
    const FrameHeaderBytes bytes = EncodeFrameHeader(header);
    EXPECT_EQ(std::string(bytes.data(), bytes.size()), FromHex("0100000006000000100000000c000000"));
}

TEST(FrameCipher, TheOpensslProgramDeciphersIt) {
    const FrameCipher cipher;
    for (const std::size_t length : {1U, 15U, 16U, 17U, 70000U}) {
        const std::string plain = Pattern(length);
        EXPECT_EQ(DecipheredByProgram(cipher.Encipher(plain)), plain) << length;
    }
}

TEST(FrameCipher, EveryLengthRoundTrips) {
    const FrameCipher cipher;
    for (const std::size_t length : {0U, 1U, 15U, 16U, 17U, 8191U, 8192U, 8193U, 1U << 20}) {
        const std::string plain = Pattern(length);
        const std::string cipherText = cipher.Encipher(plain);
        EXPECT_EQ(cipherText.size(), FrameCipher::CipherLength(length));
        EXPECT_EQ(cipher.Decipher(cipherText), plain);
    }
}

TEST(FrameCipher, RefusesWhatIsNoCiphertext) {
    const FrameCipher cipher;
    const std::string good = cipher.Encipher(Pattern(100));
    EXPECT_THROW(cipher.Decipher(""), Poco::Exception);
    EXPECT_THROW(cipher.Decipher(good.substr(0, good.size() - 1)), Poco::Exception);
    EXPECT_THROW(cipher.Decipher(std::string(16, 'a')), Poco::Exception);  // bad padding
    EXPECT_EQ(cipher.Decipher(good), Pattern(100));                        // still usable
}

TEST(FrameCipher, OneObjectServesManyThreads) {
    const FrameCipher cipher;
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < 4; ++t) {
        threads.emplace_back([&cipher, t] {
            for (std::size_t i = 0; i < 200; ++i) {
                const std::string plain = Pattern(t * 1000 + i);
                EXPECT_EQ(cipher.Decipher(cipher.Encipher(plain)), plain);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
}  // namespace CQXBASE
