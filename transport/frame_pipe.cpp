// A frame between its object and the wire: header, encipherment, decipherment.
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>

#include <ace/CDR_Stream.h>

#include "errors/caught_exception.h"
#include "platform/sockets/errors.h"
#include "transport/frame.h"
#include "transport/frame_cipher.h"
#include "transport/qxio.h"
#include "transport/result_codes.h"
#include "transport/transport_log.h"

namespace CQXBASE {
namespace {

constexpr const wchar_t* kSend = L"CQXBASE::QXIO::pipe_before_send";
constexpr const wchar_t* kReceive = L"CQXBASE::QXIO::pipe_before_recv";

/// A body on its way out, and what the log tells about it when enciphering fails.
struct OutgoingBody {
    const char* bytes;
    std::size_t length;
    std::size_t plainLength = 0;  ///< 0 while the body is plain
    int step = 1;

    void Encipher(std::string& cipherText) {
        step = 2;
        plainLength = length;
        const std::shared_ptr<const FrameCipher> cipher = FrameCipher::OfAFrame();
        step = 4;
        cipherText = cipher->Encipher({bytes, length});
        step = 6;
        bytes = cipherText.data();
        length = cipherText.size();
    }
};

/// The body as one run of bytes that fits its limit and the header's field.
OutgoingBody BodyOf(ACE_OutputCDR& stream, int maxLength) {
    const std::size_t length = stream.total_length();
    const auto limit = static_cast<std::size_t>(static_cast<std::int64_t>(maxLength));
    const bool tooLong = maxLength != 0 && limit < length;
    if (tooLong || length > std::numeric_limits<std::uint32_t>::max()) {
        QXDB_THROW(L"data too long, send error.", L"qxio", kSend);
    }
    if (stream.consolidate() == -1) {
        throw std::bad_alloc();
    }
    return {stream.begin()->rd_ptr(), length};
}

void WriteHeader(ACE_OutputCDR& stream, unsigned typeCode, const OutgoingBody& body) {
    FrameHeader header;
    header.typeCode = typeCode;
    header.bodyLength = static_cast<std::uint32_t>(body.length);
    header.plainLength = static_cast<std::uint32_t>(body.plainLength);
    const FrameHeaderBytes bytes = EncodeFrameHeader(header);
    if (!stream.write_char_array(bytes.data(), static_cast<ACE_CDR::ULong>(bytes.size()))) {
        throw std::bad_alloc();
    }
}

iovec Part(const char* bytes, std::size_t length) {
    iovec part{};
    part.iov_base = const_cast<char*>(bytes);
    part.iov_len = static_cast<decltype(part.iov_len)>(length);
    return part;
}

std::wstring CipherErrorText(const wchar_t* prefix, const CaughtException& caught) {
    return caught.kind == CaughtKind::Unknown ? caught.text() : prefix + caught.text();
}

}  // namespace

int QXIO::pipe_before_send(ACE_OutputCDR& body, ACE_OutputCDR& header, unsigned typeCode,
                           int maxLength, bool encipher, std::string& cipherText) {
    OutgoingBody out = BodyOf(body, maxLength);
    const auto work = [&] {
        if (encipher && out.length != 0 && out.length <= kMaxEncipheredBody) {
            out.Encipher(cipherText);
        }
        WriteHeader(header, typeCode, out);
        sendIov_[0] = Part(header.begin()->rd_ptr(), kFrameHeaderSize);
        sendIov_[1] = Part(out.bytes, out.length);
        return 0;
    };
    return RunProtected(
        QXDB_SITE(L"qxio", kSend), kUnexpectedErrorText, work, [&](const CaughtException& caught) {
            const int error = errno;
            set_last_error(kEncipherFailed, CipherErrorText(L"加密错误：", caught));
            LogLine(kTransportPriority, __LINE__, 0, error,
                    ACE_TEXT("%D: pipe_before_send() error, 5003, step=%i,srclen=%i, "
                             "length=%i, (errno = %i: %m) \n"),
                    out.step, static_cast<int>(out.plainLength), static_cast<int>(out.length),
                    error);
            return -1;
        });
}

template <class Work>
void QXIO::do_ahead(const Work& work) {
    try {
        work();
    } catch (const QX_Exception& /*fault*/) {
        forget_ahead();
        rxFault_ = std::current_exception();
    } catch (const std::exception& /*error*/) {
        forget_ahead();  // all is done again when the body is there, and what fails is told then
    }
}

void QXIO::derive_ahead() {
    forget_ahead();
    if (std::exchange(encipheredAnswer_, false)) {
        do_ahead([this] { rxCipher_ = FrameCipher::OfAFrame(); });
    }
}

void QXIO::decipher_arrived() {
    if (rxCipher_ == nullptr || rxPlainLength_ == 0) {
        return;
    }
    const std::string_view arrived(rxBlock_->rd_ptr() + kFrameHeaderSize,
                                   rxBlock_->length() - kFrameHeaderSize);
    do_ahead([&] {
        // No more memory ahead of the bytes than the block has.
        rxBegun_.reserve(std::min<std::size_t>(rxBodyLength_, rxBlock_->capacity()));
        rxCipher_->DecipherOn(arrived, rxBegun_);
    });
}

void QXIO::forget_ahead() noexcept {
    rxCipher_.reset();
    rxBegun_ = std::string();
    rxFault_ = nullptr;
}

int QXIO::pipe_before_recv(char*& data, unsigned& length, std::string& plainText,
                           unsigned& typeCode, bool& enciphered) {
    const std::size_t held = rxBlock_ == nullptr ? 0 : rxBlock_->length();
    if (held < kFrameHeaderSize) {
        QXDB_THROW(L"frame without a header.", L"qxio", kReceive);
    }
    const FrameHeader header = DecodeFrameHeader(rxBlock_->rd_ptr());
    if (header.bodyLength > held - kFrameHeaderSize) {
        QXDB_THROW(L"frame without its whole body.", L"qxio", kReceive);
    }
    typeCode = header.typeCode;
    length = header.plainLength;
    char* const body = rxBlock_->rd_ptr() + kFrameHeaderSize;
    if (length == 0) {
        enciphered = false;
        length = header.bodyLength;
        data = body;
        return 0;
    }
    const auto work = [&] {
        if (rxFault_ != nullptr) {
            std::rethrow_exception(std::exchange(rxFault_, nullptr));
        }
        const std::shared_ptr<const FrameCipher> cipher = std::move(rxCipher_);
        const std::string_view cipherText(body, header.bodyLength);
        plainText = cipher != nullptr
                        ? cipher->Decipher(cipherText, std::exchange(rxBegun_, std::string()))
                        : FrameCipher::OfAFrame()->Decipher(cipherText);
        if (plainText.size() != length) {
            QXDB_THROW(L"deciphered length is not that of the header.", L"qxio", kReceive);
        }
        data = plainText.data();
        return 0;
    };
    return RunProtected(
        QXDB_SITE(L"qxio", kReceive), kUnexpectedErrorText, work,
        [&](const CaughtException& caught) {
            const int error = errno;
            set_last_error(kDecipherFailed, CipherErrorText(L"解密错误：", caught));
            log_peer(__LINE__, error,
                     ACE_TEXT("%D(%i): pipe_before_recv() from %C error. (errno = %i: %m)\n"),
                     platform::sockets::WinsockNumber(error));
            return -1;
        });
}

}  // namespace CQXBASE
