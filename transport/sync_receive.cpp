// The receiving half of the blocking exchange.
#include <algorithm>
#include <cerrno>

#include "errors/caught_exception.h"
#include "platform/sockets/errors.h"
#include "platform/sockets/handshake.h"
#include "platform/sockets/transfer.h"
#include "platform/text/string_table.h"
#include "proxy/proxy_handshake.h"
#include "proxy/socket_io.h"
#include "tls/client_stream.h"
#include "transport/frame.h"
#include "transport/qxio.h"
#include "transport/result_codes.h"

namespace CQXBASE {
namespace {

/// Room in the receive block beyond the body: the header, or the length field of a string frame.
constexpr std::uint64_t kBesideBody = 40;
/// Bytes that are deciphered while the next ones arrive: they are still in the processor's cache.
constexpr std::size_t kDecipheredChunk = std::size_t{256} * 1024;

}  // namespace

int QXIO::Syc_receive_data(char*& data, unsigned& length, std::string& plainText,
                           unsigned& typeCode, bool& enciphered) {
    const auto receive = [&] {
        Syc_receive_init();
        apply_silence_limit();
        derive_ahead();
        if (Syc_receive_header() != 0) {
            return kReceiveFailed;
        }
        if (mostBody_ != 0 && rxBodyLength_ > mostBody_) {
            return refuse_body();
        }
        if (Syc_receive_body() != 0) {
            return kReceiveFailed;
        }
        enciphered = rxPlainLength_ != 0;
        return enciphered ? pipe_before_recv(data, length, plainText, typeCode, enciphered)
                          : hand_out_plain(data, length, typeCode);
    };
    const int result = RunProtected(QXDB_SITE(L"qxio", L"CQXBASE::QXIO::Syc_receive_data"), receive,
                                    [this](const CaughtException& caught) {
                                        set_last_error(kReceiveFailed, caught.text());
                                        return kReceiveFailed;
                                    });
    forget_ahead();
    return result;
}

int QXIO::hand_out_plain(char*& data, unsigned& length, unsigned& typeCode) const {
    data = reinterpret_cast<char*>(rxBlock_.get());
    length = rxBodyLength_;
    typeCode = rxTypeCode_;
    return 0;
}

void QXIO::Syc_receive_init() {
    log_progress(__LINE__, ACE_TEXT("%D(%i): Syc_receive_init() in, from %C \n"));
    ResetBlock(rxBlock_);
    log_progress(__LINE__, ACE_TEXT("%D(%i): Syc_receive_init() out, from %C \n"));
}

int QXIO::Syc_receive_header() {
    log_progress(__LINE__, ACE_TEXT("%D(%i): read message header from %C \n"));
    platform::sockets::ClearLastError();
    if (receive_into_block(kFrameHeaderSize, kFirstBlockSize)) {
        take_header(rxBlock_->rd_ptr());
        return 0;
    }
    const int error = errno;
    log_peer(__LINE__, error,
             ACE_TEXT("%D(%i): read message header error from %C (errno = %i: %m). \n"),
             platform::sockets::WinsockNumber(error));
    errno = error;
    drop_after_failed_read();
    return -1;
}

void QXIO::take_header(const char* bytes) {
    const FrameHeader header = DecodeFrameHeader(bytes);
    rxTypeCode_ = header.typeCode;
    rxBodyLength_ = header.bodyLength;
    rxPlainLength_ = header.plainLength;
}

void QXIO::apply_silence_limit() {
    if (!ownsStream_ || peer_ == nullptr) {
        return;
    }
    const bool proxysIsShorter =
        proxyType_ != kProxyNone && (silenceMs_ == 0 || silenceMs_ > kReceiveTimeoutMs);
    const std::uint32_t limit = proxysIsShorter ? kReceiveTimeoutMs : silenceMs_;
    if (limit != socketSilenceMs_) {
        platform::sockets::SetReceiveTimeout(peer_->get_handle(), limit);
        socketSilenceMs_ = limit;
    }
}

int QXIO::refuse_body() {
    set_last_error(kReplyTooLarge, ReplyTooLargeText(mostBody_));
    return kReceiveFailed;
}

int QXIO::Syc_receive_body() {
    log_progress(__LINE__, ACE_TEXT("%D(%i): start receiving from %C, %i bytes \n"),
                 static_cast<int>(rxBodyLength_));
    const std::uint64_t wholeSize = rxBodyLength_ + kBesideBody;
    std::size_t remaining = rxBodyLength_;
    platform::sockets::ClearLastError();
    const std::size_t most = rxCipher_ == nullptr ? kReadChunk : kDecipheredChunk;
    while (remaining != 0) {
        const std::size_t chunk = std::min(remaining, most);
        if (!receive_into_block(chunk, wholeSize)) {
            const int error = errno;
            log_peer(
                __LINE__, error,
                ACE_TEXT(
                    "%D(%i): receive message error from %C, total %i bytes, received %i bytes \n"),
                static_cast<int>(rxBodyLength_), static_cast<int>(rxBodyLength_ - remaining));
            errno = error;
            record_socket_error(L"receive the data from master error", lastErrorCode_,
                                lastErrorText_);
            return -1;
        }
        remaining -= chunk;
        decipher_arrived();
    }
    midExchange_ = false;
    log_progress(__LINE__, ACE_TEXT("%D(%i): received from %C, %i bytes \n"),
                 static_cast<int>(rxBodyLength_));
    return 0;
}

bool QXIO::receive_into_block(std::size_t count, std::uint64_t wholeSize) {
    if (rxBlock_ == nullptr) {
        errno = ENOMEM;
        return false;
    }
    if (peer_ == nullptr) {
        platform::sockets::SetNotConnected();
        return false;
    }
    if (!MakeRoom(*rxBlock_, count, wholeSize) || !read_exactly(rxBlock_->wr_ptr(), count)) {
        return false;
    }
    rxBlock_->wr_ptr(count);
    return true;
}

bool QXIO::read_exactly(char* bytes, std::size_t count) {
    return tls_ != nullptr ? tls_->ReceiveExactly(bytes, count)
                           : platform::sockets::ReceiveExactly(*peer_, bytes, count);
}

void QXIO::drop_after_failed_read() {
    constexpr unsigned kReceiveFailedText = 8806;
    record_socket_error(platform::text::TableString(kReceiveFailedText, L"receive message error"),
                        lastErrorCode_, lastErrorText_);
    if (ownsStream_) {
        close_stream();
    }
}

}  // namespace CQXBASE
