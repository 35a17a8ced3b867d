#include "transport/frame_cipher.h"

#include <Poco/Crypto/CipherFactory.h>
#include <Poco/Crypto/CipherKey.h>
#include <Poco/Exception.h>

namespace CQXBASE {
namespace {

using Poco::Crypto::Cipher;

constexpr char kPassphrase[] = "qmvdkarlop\x0b\x0c";
constexpr char kSalt[] = "Few ripe figs";
constexpr int kIterations = 2000;

}  // namespace

FrameCipher::FrameCipher()
    : cipher_(Poco::Crypto::CipherFactory::defaultFactory().createCipher(
          Poco::Crypto::CipherKey("sm4", kPassphrase, kSalt, kIterations, "md5"))) {}

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
