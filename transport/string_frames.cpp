// The blocking exchange of string frames: a decimal length in 32 bytes, then UTF-8 text and a NUL.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>

#include "errors/caught_exception.h"
#include "platform/sockets/errors.h"
#include "platform/sockets/transfer.h"
#include "transport/qxio.h"
#include "transport/result_codes.h"
#include "util/text.h"

namespace CQXBASE {
namespace {

constexpr std::size_t kLengthFieldSize = 32;
constexpr int kWriteTimeoutMs = 5000;

/// Leading decimal digits, kept within the range of an int; a negative number wraps round.
std::uint32_t LengthOf(const std::string& field) {
    constexpr long long kLow = std::numeric_limits<int>::min();
    constexpr long long kHigh = std::numeric_limits<int>::max();
    const long long number = std::strtoll(field.c_str(), nullptr, 10);
    return static_cast<std::uint32_t>(std::clamp(number, kLow, kHigh));
}

}  // namespace

int QXIO::Syc_SendStrToImServer(const std::wstring& text) {
    const auto send = [&] {
        return open_connection() != 0 ? kSendStringFailed
                                      : send_string(ToNarrow(text, kCodePageUtf8));
    };
    return RunProtected(QXDB_SITE(L"qxio", L"CQXBASE::QXIO::Syc_SendStrToImServer"), send,
                        [this](const CaughtException& caught) {
                            set_last_error(kSendStringFailed, caught.text());
                            return kSendStringFailed;
                        });
}

int QXIO::send_string(const std::string& utf8) {
    const std::size_t length = utf8.size() + 1;
    const BlockPtr block = NewBlock(length + kLengthFieldSize);
    if (block == nullptr) {
        return string_failure(L"new message error");
    }
    std::string field = std::to_string(length);
    field.resize(kLengthFieldSize, '\0');
    if (block->copy(field.data(), field.size()) == -1) {
        return string_failure(L"copy message's length error");
    }
    if (block->copy(utf8.c_str(), length) == -1) {
        return string_failure(L"copy message error");
    }
    iovec part{};
    part.iov_base = block->rd_ptr();
    part.iov_len = static_cast<decltype(part.iov_len)>(block->length());
    if (!write_parts(&part, 1, kWriteTimeoutMs)) {
        string_failure(L"send message error");
    }
    return 0;  // also after a failed write, which the last error alone tells
}

int QXIO::string_failure(const wchar_t* context) {
    record_socket_error(context, lastErrorCode_, lastErrorText_);
    return -1;
}

int QXIO::Syc_ReceiveFmImServer(std::wstring& text) {
    if (peer_ == nullptr) {
        return 0;
    }
    const auto receive = [&] {
        Syc_receive_init();
        if (Syc_receive_length_field() != 0 || Syc_receive_body() != 0) {
            return kReceiveStringFailed;
        }
        rxBlock_->rd_ptr(kLengthFieldSize);
        text = received_string();
        return 0;
    };
    return RunProtected(QXDB_SITE(L"qxio", L"CQXBASE::QXIO::Syc_ReceiveFmImServer"), receive,
                        [this](const CaughtException& caught) {
                            set_last_error(kReceiveStringFailed, caught.text());
                            return kReceiveStringFailed;
                        });
}

int QXIO::Syc_receive_length_field() {
    platform::sockets::ClearLastError();
    if (!receive_into_block(kLengthFieldSize, kFirstBlockSize)) {
        drop_after_failed_read();
        return -1;
    }
    rxBodyLength_ = LengthOf(std::string(rxBlock_->rd_ptr(), kLengthFieldSize));
    return 0;
}

std::wstring QXIO::received_string() const {
    const char* first = rxBlock_->rd_ptr();
    const char* last = std::find(first, static_cast<const char*>(rxBlock_->wr_ptr()), '\0');
    return Utf8ToWide({first, static_cast<std::size_t>(last - first)});
}

}  // namespace CQXBASE
