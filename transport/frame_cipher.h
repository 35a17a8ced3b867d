// The cipher of frame bodies: SM4 in CBC mode with PKCS#7 padding.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <openssl/evp.h>

namespace CQXBASE {

/// Key and initialisation vector are the same for every frame and every peer; deriving them takes
/// about half a millisecond, which is what constructing one costs. One object may be used by
/// several threads at once: each call runs on a context of its own and only reads the key.
class FrameCipher {
  public:
    static constexpr std::size_t kBlock = 16;

    /// Throws Poco::Exception when OpenSSL offers no SM4 or no MD5, std::bad_alloc.
    FrameCipher();

    /// Whether OfAFrame derives once a process instead of once a frame: the build option
    /// QXDB_KEEP_FRAME_KEY unless set. From any thread.
    static void Keep(bool keep) noexcept;
    static bool Kept() noexcept;
    /// For one frame, or the process's. Throws as the constructor.
    static std::shared_ptr<const FrameCipher> OfAFrame();

    /// Ciphertext, 1 to 16 bytes longer than `plain`. Throws Poco::Exception, std::bad_alloc.
    std::string Encipher(std::string_view plain) const;

    /// Plaintext, 1 to 16 bytes shorter than `cipherText`. Throws Poco::Exception when the length
    /// is no positive multiple of 16 or the padding is wrong, std::bad_alloc.
    /// `begun` is what DecipherOn has made of its beginning.
    std::string Decipher(std::string_view cipherText, std::string begun = {}) const;
    /// Adds to `plain`, which DecipherOn made of the first bytes, the further whole blocks that
    /// have arrived of a body, the last with padding.
    void DecipherOn(std::string_view arrived, std::string& plain) const;

    /// Length of the ciphertext of `plainLength` bytes.
    static constexpr std::size_t CipherLength(std::size_t plainLength) noexcept {
        return (plainLength / kBlock + 1) * kBlock;
    }

  private:
    using Block = std::array<unsigned char, kBlock>;
    struct Free {
        void operator()(EVP_CIPHER* cipher) const { EVP_CIPHER_free(cipher); }
        void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
    };
    using Context = std::unique_ptr<EVP_CIPHER_CTX, Free>;
    enum class Direction { Decipher = 0, Encipher = 1 };

    Context NewContext(Direction direction, const unsigned char* previous) const;
    void DecipherBlocks(const unsigned char* previous, const char* cipherText, char* plain,
                        std::size_t length) const;

    std::unique_ptr<EVP_CIPHER, Free> sm4_;
    Block key_;
    Block vector_;

  public:
    /// One body that is enciphered piece by piece, as it comes into being. The cipher outlives it.
    class Stream {
      public:
        explicit Stream(const FrameCipher& cipher);
        void Add(std::string_view plain);
        /// The ciphertext that there is and wasn't taken before.
        std::string Take() noexcept { return std::exchange(cipherText_, std::string()); }
        /// The rest of it; nothing can be added then.
        std::string Finish();

      private:
        Context context_;
        std::string cipherText_;
    };
};

}  // namespace CQXBASE
