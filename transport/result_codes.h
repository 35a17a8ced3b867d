// Codes that the transport returns or records, beside those of the socket layer.
#pragma once

#include <cstdint>
#include <string>

namespace CQXBASE {

constexpr int kSendFailed = -5004;           ///< Syc_sendobj
constexpr int kReceiveFailed = -5005;        ///< Syc_receive_data
constexpr int kSendStringFailed = -5006;     ///< Syc_SendStrToImServer
constexpr int kReceiveStringFailed = -5007;  ///< Syc_ReceiveFmImServer
constexpr int kReplyTooLarge = -5008;  ///< the last error when a frame claims more than the bound

/// The text of kReplyTooLarge, for a bound of `mostBytes`.
inline std::wstring ReplyTooLargeText(std::uint64_t mostBytes) {
    return L"the server's reply is larger than the " + std::to_wstring(mostBytes) +
           L" bytes that are allowed: use pages or a narrower query.";
}

constexpr int kEncipherFailed = 5003;
constexpr int kDecipherFailed = 1;

constexpr int kReaderNotOpened = -210;  ///< Asy_receive_init
constexpr int kNoReceiveBlock = -214;   ///< Asy_receive_init

}  // namespace CQXBASE
