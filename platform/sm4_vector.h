// Deciphering by vector instructions, where a library of the platform has them.
#pragma once

#include <cstddef>

namespace CQXBASE::platform {

/// Deciphers `length` bytes of SM4 in CBC mode, a multiple of 16, behind the 16 bytes `previous`
/// (the initialisation vector, or the ciphertext before). `plain` may be `cipherText`. False when
/// there is nothing that does it; `plain` then holds nothing of use.
bool DecipherSm4Cbc(const unsigned char* key, const unsigned char* previous, const char* cipherText,
                    char* plain, std::size_t length) noexcept;

}  // namespace CQXBASE::platform
