// Where TLS takes the bytes of the other side from and leaves its own.
#pragma once

#include <cstddef>

#include <openssl/bio.h>

namespace CQXBASE::tls {

/// OpenSSL's own sockets would raise signals, wait on without a limit and keep errno from whoever
/// reports it; so the bytes go through this.
class Wire {
  public:
    virtual ~Wire() = default;

    /// What both return when there is nothing for now.
    static constexpr std::ptrdiff_t kLater = -2;

    /// At most `count` bytes, of which there is at least one; 0 at the other side's end, kLater, or
    /// -1 for an error.
    virtual std::ptrdiff_t ReadWire(char* bytes, std::size_t count) noexcept = 0;
    /// How many bytes were taken, kLater, or -1 for an error.
    virtual std::ptrdiff_t WriteWire(const char* bytes, std::size_t count) noexcept = 0;
};

/// For SSL_set_bio; `wire` is borrowed for its life. Null when there is no memory.
BIO* NewBio(Wire& wire) noexcept;

}  // namespace CQXBASE::tls
