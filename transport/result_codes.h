// Codes that the transport returns or records, beside those of the socket layer.
#pragma once

namespace CQXBASE {

constexpr int kSendFailed = -5004;           ///< Syc_sendobj
constexpr int kReceiveFailed = -5005;        ///< Syc_receive_data
constexpr int kSendStringFailed = -5006;     ///< Syc_SendStrToImServer
constexpr int kReceiveStringFailed = -5007;  ///< Syc_ReceiveFmImServer

constexpr int kEncipherFailed = 5003;
constexpr int kDecipherFailed = 1;

constexpr int kReaderNotOpened = -210;  ///< Asy_receive_init
constexpr int kNoReceiveBlock = -214;   ///< Asy_receive_init

}  // namespace CQXBASE
