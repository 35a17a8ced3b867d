#include "tls/client_stream.h"

#include <algorithm>
#include <cerrno>
#include <new>

#include <climits>
#include <openssl/err.h>
#include <openssl/x509v3.h>

#include "platform/sockets/errors.h"
#include "platform/sockets/handshake.h"
#include "platform/sockets/options.h"
#include "platform/sockets/transfer.h"
#include "util/text.h"

namespace CQXBASE::tls {
namespace {

namespace sockets = platform::sockets;

/// Of a large send, what is made into records before it leaves: fewer calls of the system, and
/// still in the processor's cache.
constexpr std::size_t kGathered = std::size_t{128} * 1024;
/// A frame's header and the beginning of its body go into one record.
constexpr std::size_t kRecord = SSL3_RT_MAX_PLAIN_LENGTH;

std::string NameToVerify(const CQXDB::QXTlsInfo& info, const std::wstring& host) {
    std::string name = WideToUtf8(info.serverName.empty() ? host : info.serverName);
    if (name.size() > 2 && name.front() == '[' && name.back() == ']') {
        name = name.substr(1, name.size() - 2);
    }
    if (name.empty() || name.find('\0') != std::string::npos) {
        throw TlsError({CQXDB::QXTLS_BAD_SETTINGS, L"the server name to verify is none"});
    }
    return name;
}

/// 1 when there is something to read, 0 when not, -1 with errno when nobody can tell.
int Readiness(ACE_HANDLE socket) {
    ACE_Handle_Set one;
    sockets::AddToSet(one, socket);
    return sockets::ReadyToRead(one, socket);
}

void Require(int done) {
    if (done != 1) {
        throw std::bad_alloc();
    }
}

void ExpectName(SSL& ssl, const std::string& name) {
    X509_VERIFY_PARAM* const wanted = SSL_get0_param(&ssl);
    if (X509_VERIFY_PARAM_set1_ip_asc(wanted, name.c_str()) != 1) {
        ForgetErrors();
        X509_VERIFY_PARAM_set_hostflags(wanted, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
        Require(X509_VERIFY_PARAM_set1_host(wanted, name.c_str(), name.size()));
        if (SSL_set_tlsext_host_name(&ssl, name.c_str()) != 1) {
            throw TlsError(
                {CQXDB::QXTLS_BAD_SETTINGS, L"'" + Utf8ToWide(name) + L"' is no host name"});
        }
    }
}

}  // namespace

ClientStream::ClientStream(const Context& context, ACE_SOCK_Stream& stream,
                           const CQXDB::QXTlsInfo& info, const std::wstring& host)
    : stream_(stream),
      host_(NameToVerify(info, host)),
      hasCertificate_(!info.certificateFile.empty()),
      ssl_(SSL_new(context.get()), SSL_free) {
    BIO* const bio = ssl_ == nullptr ? nullptr : NewBio(*this);
    if (bio == nullptr) {
        throw std::bad_alloc();
    }
    SSL_set_bio(ssl_.get(), bio, bio);
    Require(SSL_set_ex_data(ssl_.get(), 0, this));
    ExpectName(*ssl_, host_);
    if (!info.trustAnyServerWithoutVerification) {
        SSL_set_verify(ssl_.get(), SSL_VERIFY_PEER, NoteCertificate);
    }
    if (!hasCertificate_) {
        SSL_CTX_set_client_cert_cb(context.get(), NoteQuestion);
    }
}

// Without a farewell, as the connection ends with a reset.
ClientStream::~ClientStream() = default;

bool ClientStream::Handshake(std::chrono::milliseconds limit) {
    deadline_ = Clock::now() + limit;
    timeoutMs_ = static_cast<int>(std::min<std::int64_t>(limit.count(), INT_MAX));
    ForgetErrors();
    const int result = SSL_connect(ssl_.get());
    const bool done = result == 1 ? FlushOut() : Failed(result);
    deadline_.reset();
    return done;
}

bool ClientStream::SendParts(const iovec* parts, int count, int timeoutMs) {
    timeoutMs_ = timeoutMs;
    gather_ = true;
    std::string begun;  // what is shorter than a record and waits for company
    bool done = true;
    for (int i = 0; done && i < count; ++i) {
        const char* bytes = static_cast<const char*>(parts[i].iov_base);
        std::size_t length = parts[i].iov_len;
        if (!begun.empty() || length < kRecord) {
            const std::size_t taken = std::min(length, kRecord - begun.size());
            begun.append(bytes, taken);
            bytes += taken;
            length -= taken;
            if (begun.size() == kRecord) {
                done = WriteOut(begun.data(), begun.size());
                begun.clear();
            }
        }
        done = done && (length == 0 || WriteOut(bytes, length));
    }
    done = done && (begun.empty() || WriteOut(begun.data(), begun.size())) && FlushOut();
    gather_ = false;
    if (!done && !failure_) {
        const int error = errno;
        LookForFarewell();
        errno = error;
    }
    return done;
}

bool ClientStream::WriteOut(const char* bytes, std::size_t count) {
    while (count > 0) {
        std::size_t written = 0;
        ForgetErrors();
        const int result = SSL_write_ex(ssl_.get(), bytes, count, &written);
        if (result != 1) {
            return Failed(result);
        }
        bytes += written;
        count -= written;
    }
    return true;
}

bool ClientStream::ReceiveExactly(char* bytes, std::size_t count) {
    while (count > 0) {
        std::size_t received = 0;
        ForgetErrors();
        const int result = SSL_read_ex(ssl_.get(), bytes, count, &received);
        if (result != 1) {
            return Failed(result);
        }
        bytes += received;
        count -= received;
    }
    return true;
}

bool ClientStream::IsIdle() {
    char byte = 0;
    std::size_t received = 0;
    ForgetErrors();
    waits_ = false;
    const int result = SSL_peek_ex(ssl_.get(), &byte, 1, &received);
    waits_ = true;
    return result != 1 && SSL_get_error(ssl_.get(), result) == SSL_ERROR_WANT_READ;
}

/// A server that refuses a certificate says so and closes, while the client may be sending already.
void ClientStream::LookForFarewell() {
    char byte = 0;
    std::size_t received = 0;
    ForgetErrors();
    waits_ = false;
    const int result = SSL_peek_ex(ssl_.get(), &byte, 1, &received);
    waits_ = true;
    if (result != 1 && SSL_get_error(ssl_.get(), result) == SSL_ERROR_SSL) {
        Failed(result);
    }
}

std::ptrdiff_t ClientStream::ReadWire(char* bytes, std::size_t count) noexcept {
    if (waits_ && !(FlushOut() && PrepareRead())) {
        return -1;
    }
    const int ready = waits_ ? 1 : Readiness(stream_.get_handle());
    if (ready <= 0) {
        error_ = errno;
        return ready == 0 ? kLater : -1;
    }
    const std::ptrdiff_t received = sockets::ReceiveSome(stream_, bytes, count);
    error_ = received < 0 ? errno : 0;
    ended_ = received == 0;
    return received;
}

/// In a handshake each read waits for as long as is left of it.
bool ClientStream::PrepareRead() noexcept {
    if (deadline_) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(*deadline_ - Clock::now()).count();
        if (left <= 0) {
            sockets::SetTimedOut();
            error_ = errno;
            return false;
        }
        sockets::SetReceiveTimeout(stream_.get_handle(), static_cast<unsigned>(left));
    }
    return true;
}

std::ptrdiff_t ClientStream::WriteWire(const char* bytes, std::size_t count) noexcept {
    try {
        out_.append(bytes, count);
    } catch (const std::bad_alloc&) {
        error_ = ENOMEM;
        return -1;
    }
    const bool sent = (gather_ && out_.size() < kGathered) || FlushOut();
    return sent ? static_cast<std::ptrdiff_t>(count) : -1;
}

bool ClientStream::FlushOut() noexcept {
    if (out_.empty()) {
        return true;
    }
    iovec part{};
    part.iov_base = out_.data();
    part.iov_len = static_cast<decltype(part.iov_len)>(out_.size());
    bool sent = false;
    try {
        sent = sockets::SendParts(stream_, &part, 1, timeoutMs_);
        error_ = sent ? 0 : errno;
    } catch (const std::bad_alloc&) {
        error_ = ENOMEM;
    }
    out_.clear();
    return sent;
}

bool ClientStream::HasClosed() const noexcept {
    return ended_ || sockets::WinsockNumber(error_) == sockets::kConnectionReset;
}

bool ClientStream::Failed(int result) {
    const int kind = SSL_get_error(ssl_.get(), result);
    const unsigned long error = ERR_peek_last_error();
    if (kind == SSL_ERROR_SSL) {
        failure_ = Describe(error);
    } else if (SSL_is_init_finished(ssl_.get()) == 0 && HasClosed()) {
        failure_ = Describe(0);
    }
    errno = kind == SSL_ERROR_ZERO_RETURN ? 0 : error_;
    return false;
}

}  // namespace CQXBASE::tls
