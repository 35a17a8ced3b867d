#include "transport/frame_cipher.h"

#include <memory>

#include <Poco/Crypto/CipherFactory.h>
#include <Poco/Exception.h>
#include <openssl/evp.h>

namespace CQXBASE {
namespace {

using Poco::Crypto::Cipher;

constexpr char kPassphrase[] = "qmvdkarlop\x0b\x0c";
constexpr char kSalt[] = "Few ripe figs";
constexpr int kIterations = 2000;

/// An OpenSSL restricted to approved algorithms has neither, and POCO would go on without them.
void RequireAlgorithms() {
    const std::unique_ptr<EVP_CIPHER, decltype(&EVP_CIPHER_free)> sm4(
        EVP_CIPHER_fetch(nullptr, "SM4-CBC", nullptr), EVP_CIPHER_free);
    const std::unique_ptr<EVP_MD, decltype(&EVP_MD_free)> md5(EVP_MD_fetch(nullptr, "MD5", nullptr),
                                                              EVP_MD_free);
    if (sm4 == nullptr || md5 == nullptr) {
        throw Poco::NotImplementedException("OpenSSL offers no SM4 or no MD5");
    }
}

}  // namespace

Poco::Crypto::CipherKey DeriveFrameKey() {
    RequireAlgorithms();
    return {"sm4", kPassphrase, kSalt, kIterations, "md5"};
}

FrameCipher::FrameCipher()
    : cipher_(Poco::Crypto::CipherFactory::defaultFactory().createCipher(DeriveFrameKey())) {}

std::string FrameCipher::Encipher(std::string_view plain) const {
    std::string cipherText = cipher_->encryptString(std::string(plain), Cipher::ENC_NONE);
    // POCO enciphers through a stream, and a stream keeps an exception to itself and ends short.
    if (cipherText.size() != CipherLength(plain.size())) {
        throw Poco::IOException("incomplete ciphertext");
    }
    return cipherText;
}

std::string FrameCipher::Decipher(std::string_view cipherText) const {
    std::string plain = cipher_->decryptString(std::string(cipherText), Cipher::ENC_NONE);
    if (plain.size() >= cipherText.size() || CipherLength(plain.size()) != cipherText.size()) {
        throw Poco::IOException("incomplete plaintext");
    }
    return plain;
}

}  // namespace CQXBASE
