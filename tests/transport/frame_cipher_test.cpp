#include "transport/frame_cipher.h"

#include <string>

#include <Poco/Exception.h>
#include <Poco/MD5Engine.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include "tests/support/Hex.h"

namespace CQXBASE {
namespace {

using qxdb_test::FromHex;

const std::string kKey = "0af1b0c6ddba4279d5ebfe725a90973b";
const std::string kVector = "ca06109fcec832668ee4f830f31cd133";

std::string Pattern(std::size_t length) {
    std::string bytes(length, '\0');
    for (std::size_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<char>(i * 131 >> 3);
    }
    return bytes;
}

std::string Digest2000(std::string bytes) {
    for (int i = 0; i < 2000; ++i) {
        Poco::MD5Engine md5;
        md5.update(bytes);
        const Poco::DigestEngine::Digest digest = md5.digest();
        bytes.assign(digest.begin(), digest.end());
    }
    return bytes;
}

/// Whole blocks as they stand, without padding.
std::string EncipheredBlocks(const std::string& blocks) {
    const std::string key = FromHex(kKey);
    const std::string vector = FromHex(kVector);
    const auto bytes = [](const std::string& text) {
        return reinterpret_cast<const unsigned char*>(text.data());
    };
    EVP_CIPHER_CTX* context = EVP_CIPHER_CTX_new();
    EXPECT_EQ(EVP_EncryptInit_ex(context, EVP_sm4_cbc(), nullptr, bytes(key), bytes(vector)), 1);
    EVP_CIPHER_CTX_set_padding(context, 0);
    std::string cipherText(blocks.size(), '\0');
    int count = 0;
    EXPECT_EQ(EVP_EncryptUpdate(context, reinterpret_cast<unsigned char*>(cipherText.data()),
                                &count, bytes(blocks), static_cast<int>(blocks.size())),
              1);
    EXPECT_EQ(static_cast<std::size_t>(count), blocks.size());
    EVP_CIPHER_CTX_free(context);
    return cipherText;
}

TEST(FrameCipher, ExampleOfTheWireFormat) {
    const std::string secret = std::string("qmvdkarlop\x0b\x0c") + FromHex("66031e4701697065");
    EXPECT_EQ(Digest2000(secret), FromHex(kKey));
    EXPECT_EQ(Digest2000(FromHex(kKey) + secret), FromHex(kVector));
    EXPECT_EQ(FrameCipher().Encipher(FromHex("070000000200000061006200")),
              FromHex("d04feb6a1cdafc989be86b63e6075c95"));
}

TEST(FrameCipher, PaddingTellsTheLength) {
    const FrameCipher cipher;
    for (std::size_t length = 0; length <= 201; ++length) {
        const std::string plain = Pattern(length <= 200 ? length : 70000);
        const std::size_t count = 16 - plain.size() % 16;
        const std::string padded = plain + std::string(count, static_cast<char>(count));
        EXPECT_EQ(padded.size(), FrameCipher::CipherLength(plain.size()));
        EXPECT_EQ(cipher.Encipher(plain), EncipheredBlocks(padded));
        EXPECT_EQ(cipher.Decipher(EncipheredBlocks(padded)), plain);
    }
    const std::string blocks = Pattern(16 * 20);
    for (const std::string& ending :
         {std::string(1, '\0'), std::string(17, '\x11'), std::string("\x01\x02"),
          "x" + std::string(15, '\x10'), std::string("\x80"), std::string("\xff")}) {
        const std::string text = blocks.substr(ending.size()) + ending;
        EXPECT_THROW(cipher.Decipher(EncipheredBlocks(text)), Poco::IOException);
    }
    EXPECT_THROW(cipher.Decipher(""), Poco::Exception);
    EXPECT_THROW(cipher.Decipher(EncipheredBlocks(blocks).substr(1)), Poco::Exception);
    EXPECT_EQ(cipher.Decipher(cipher.Encipher(blocks)), blocks);  // still usable
}

}  // namespace
}  // namespace CQXBASE
