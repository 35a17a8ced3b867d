// TLS over a client's connected, blocking socket.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include <ace/SOCK_Stream.h>
#include <ace/os_include/sys/os_uio.h>

#include "tls/context.h"
#include "tls/tls_error.h"
#include "tls/wire.h"

namespace CQXBASE::tls {

/// What fails leaves its reason in GetFailure() or, when that has none, in errno as the calls of
/// platform/sockets/transfer.h do: 0 when the server has closed, be it by TLS's own farewell or
/// without. Nothing can be sent or received after a failure. One thread uses it at a time.
class ClientStream : private Wire {
  public:
    /// `stream` is borrowed. `info` is what `context` was made of, `host` the one that is connected
    /// to. Throws TlsError, std::bad_alloc.
    ClientStream(const Context& context, ACE_SOCK_Stream& stream, const CQXDB::QXTlsInfo& info,
                 const std::wstring& host);
    ~ClientStream() override;
    ClientStream(const ClientStream&) = delete;
    ClientStream& operator=(const ClientStream&) = delete;

    /// Leaves the socket with another receive time-out than before.
    bool Handshake(std::chrono::milliseconds limit);

    /// As platform::sockets::SendParts and ReceiveExactly.
    bool SendParts(const iovec* parts, int count, int timeoutMs);
    bool ReceiveExactly(char* bytes, std::size_t count);

    /// True when the connection is sound and the server has sent nothing; what TLS sends of its
    /// own, such as session tickets, doesn't count and is taken. Doesn't wait.
    bool IsIdle();

    const std::optional<Failure>& GetFailure() const noexcept { return failure_; }

  private:
    using Clock = std::chrono::steady_clock;

    std::ptrdiff_t ReadWire(char* bytes, std::size_t count) noexcept override;
    std::ptrdiff_t WriteWire(const char* bytes, std::size_t count) noexcept override;
    bool PrepareRead() noexcept;
    bool WriteOut(const char* bytes, std::size_t count);
    bool FlushOut() noexcept;
    bool HasClosed() const noexcept;
    bool Failed(int result);
    void LookForFarewell();
    Failure Describe(unsigned long error) const;
    Failure DescribeCertificate(long verdict) const;
    static int NoteCertificate(int good, X509_STORE_CTX* store);
    static int NoteQuestion(SSL* ssl, X509** certificate, EVP_PKEY** key);

    ACE_SOCK_Stream& stream_;
    const std::string host_;  ///< what the certificate must be for, UTF-8
    const bool hasCertificate_;
    std::unique_ptr<SSL, decltype(&SSL_free)> ssl_;
    std::optional<Failure> failure_;

    std::string out_;                            ///< bytes of TLS that are yet to be sent
    bool gather_ = false;                        ///< they wait for more
    int timeoutMs_ = -1;                         ///< for sending
    bool waits_ = true;                          ///< a read waits for bytes
    std::optional<Clock::time_point> deadline_;  ///< of the handshake
    bool ended_ = false;                         ///< the server has closed
    int error_ = 0;                              ///< errno of the read or write that failed
    bool asked_ = false;                         ///< for a certificate of the client
    std::string blamed_;  ///< the certificate that is not good: whose, and until when
};

}  // namespace CQXBASE::tls
