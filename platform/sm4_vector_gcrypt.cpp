#include <gcrypt.h>

#include "platform/sm4_vector.h"

namespace CQXBASE::platform {
namespace {

constexpr std::size_t kBlock = 16;

/// Whatever else in the process uses the library sets it up as it likes; this only makes sure that
/// it has found out what the processor can do.
bool Ready() noexcept {
    static const bool ready = gcry_check_version(nullptr) != nullptr;
    return ready;
}

class Handle {
  public:
    Handle() noexcept {
        if (!Ready() || gcry_cipher_open(&handle_, GCRY_CIPHER_SM4, GCRY_CIPHER_MODE_CBC, 0) != 0) {
            handle_ = nullptr;
        }
    }
    ~Handle() { gcry_cipher_close(handle_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    gcry_cipher_hd_t Get() const noexcept { return handle_; }

  private:
    gcry_cipher_hd_t handle_ = nullptr;
};

}  // namespace

bool DecipherSm4Cbc(const unsigned char* key, const unsigned char* previous, const char* cipherText,
                    char* plain, std::size_t length) noexcept {
    const Handle cipher;
    return cipher.Get() != nullptr && gcry_cipher_setkey(cipher.Get(), key, kBlock) == 0 &&
           gcry_cipher_setiv(cipher.Get(), previous, kBlock) == 0 &&
           gcry_cipher_decrypt(cipher.Get(), plain, length, cipherText, length) == 0;
}

}  // namespace CQXBASE::platform
