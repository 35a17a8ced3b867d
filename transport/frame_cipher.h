// The cipher of frame bodies: SM4 in CBC mode with PKCS#7 padding.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <Poco/AutoPtr.h>
#include <Poco/Crypto/Cipher.h>
#include <Poco/Crypto/CipherKey.h>

namespace CQXBASE {

/// The key with its initialisation vector, derived anew: about a millisecond. Throws
/// Poco::Exception when OpenSSL offers no SM4 or no MD5.
Poco::Crypto::CipherKey DeriveFrameKey();

/// Key and initialisation vector are the same for every frame and every peer; deriving them takes
/// about a millisecond, which is what constructing one costs. One object may be used by several
/// threads at once: each call runs on an OpenSSL context of its own and only reads the key.
class FrameCipher {
  public:
    /// Throws Poco::Exception when OpenSSL offers no SM4 or no MD5.
    FrameCipher();

    /// Ciphertext, 1 to 16 bytes longer than `plain`. Throws Poco::Exception.
    std::string Encipher(std::string_view plain) const;

    /// Plaintext, 1 to 16 bytes shorter than `cipherText`. Throws Poco::Exception when the length
    /// is no positive multiple of 16 or the padding is wrong.
    std::string Decipher(std::string_view cipherText) const;

    /// Length of the ciphertext of `plainLength` bytes.
    static constexpr std::size_t CipherLength(std::size_t plainLength) noexcept {
        return (plainLength / kBlock + 1) * kBlock;
    }

  private:
    static constexpr std::size_t kBlock = 16;

    mutable Poco::AutoPtr<Poco::Crypto::Cipher>
        cipher_;  ///< its calls only read it, but aren't const
};

}  // namespace CQXBASE
