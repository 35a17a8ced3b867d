// The sending half of the blocking exchange.
#include <algorithm>
#include <cerrno>
#include <limits>

#include "errors/caught_exception.h"
#include "platform/sockets/errors.h"
#include "platform/sockets/transfer.h"
#include "tls/client_stream.h"
#include "transport/outgoing_frame.h"
#include "transport/qxio.h"
#include "transport/result_codes.h"
#include "util/text.h"

namespace CQXBASE {
namespace {

constexpr int kMaxAttempts = 3;

}  // namespace

int QXIO::Syc_sendobj(QXIOBase& obj, unsigned typeCode, bool encipher, bool retry) {
    const auto send = [&] {
        const bool byCipher = encipher && !tlsInfo_.enabled;
        OutgoingFrame frame(obj);
        if (pipe_before_send(frame.Body(), frame.Header(), typeCode, frame.MaxLength(), byCipher,
                             frame.CipherText()) != 0) {
            return kSendFailed;
        }
        encipheredAnswer_ = byCipher;
        return send_with_retry(retry);
    };
    return RunProtected(QXDB_SITE(L"qxio", L"CQXBASE::QXIO::Syc_sendobj"), send,
                        [this](const CaughtException& caught) {
                            set_last_error(kSendFailed, caught.text());
                            return kSendFailed;
                        });
}

int QXIO::send_with_retry(bool retry) {
    for (int attempt = 1;; ++attempt) {
        if (open_connection() != 0) {
            return kSendFailed;
        }
        if (Syc_send_frame() == 0) {
            return 0;
        }
        const bool timedOut = silenceMs_ != 0 && lastErrorCode_ == platform::sockets::kTimedOut;
        if (!retry || timedOut || attempt >= kMaxAttempts) {
            return kSendFailed;
        }
        close_stream();
    }
}

int QXIO::silence_timeout() const noexcept {
    constexpr std::uint32_t kMost = std::numeric_limits<int>::max();
    return silenceMs_ == 0 ? platform::sockets::kNoTimeout
                           : static_cast<int>(std::min(silenceMs_, kMost));
}

int QXIO::Syc_send_frame() {
    platform::sockets::ClearLastError();
    if (!write_parts(sendIov_, 2, silence_timeout())) {
        return record_failed_send(errno);
    }
    log_progress(__LINE__, ACE_TEXT("%D(%i): send data to %C, data size is %d. \n"),
                 static_cast<int>(sendIov_[1].iov_len));
    return 0;
}

bool QXIO::write_parts(const iovec* parts, int count, int timeoutMs) {
    if (peer_ == nullptr) {
        platform::sockets::SetNotConnected();
        return false;
    }
    midExchange_ = true;
    return tls_ != nullptr ? tls_->SendParts(parts, count, timeoutMs)
                           : platform::sockets::SendParts(*peer_, parts, count, timeoutMs);
}

int QXIO::record_failed_send(int error) {
    const int bodyLength = static_cast<int>(sendIov_[1].iov_len);
    log_peer(__LINE__, error,
             ACE_TEXT("%D(%i): send data to %C error (errno=%i, %m), data size is %d. \n"),
             platform::sockets::WinsockNumber(error), bodyLength);
    std::wstring client;
    GetClientIp(client);
    errno = error;
    record_socket_error(L"", lastErrorCode_, lastErrorText_);
    if (lastErrorCode_ != platform::sockets::kConnectionReset) {
        LogLine(LM_ERROR, __LINE__, 0, error,
                ACE_TEXT("%D: %d, send data to %C error, %C. data size is %d .\n"), lastErrorCode_,
                ToNarrow(client, kCodePageAnsi).c_str(),
                ToNarrow(lastErrorText_, kCodePageAnsi).c_str(), bodyLength);
    }
    return 1;
}

}  // namespace CQXBASE
