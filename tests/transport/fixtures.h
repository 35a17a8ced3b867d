// What the transport's tests share: a record of any bytes, an open transport, captured log lines.
#pragma once

#include <string>
#include <vector>

#include <ace/CDR_Stream.h>
#include <ace/Log_Msg.h>
#include <ace/Log_Msg_Callback.h>
#include <ace/Log_Record.h>
#include <ace/SOCK_Stream.h>
#include <gtest/gtest.h>

#include <qxdb/QXIOBase.h>

#include "platform/sockets/errors.h"
#include "proxy/proxy_handshake.h"
#include "tests/support/Platform.h"
#include "transport/frame.h"
#include "transport/qxio.h"
#include "util/text.h"

namespace CQXBASE {

/// A body of any bytes, with a size() that may lie.
class Bytes : public QXIOBase {
  public:
    explicit Bytes(std::string body) : body_(std::move(body)), size_(body_.size()) {}
    Bytes(std::string body, std::size_t size) : body_(std::move(body)), size_(size) {}

    int toCDR(ACE_OutputCDR& out) const override {
        return out.write_char_array(body_.data(), static_cast<ACE_CDR::ULong>(body_.size())) ? 1
                                                                                             : 0;
    }
    std::size_t size() override { return size_; }

  private:
    std::string body_;
    std::size_t size_;
};

/// Bytes of which no two parts look alike.
inline std::string Body(std::size_t size) {
    std::string body(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        body[i] = static_cast<char>(i * 7 >> 4);
    }
    return body;
}

/// The transport with its steps and state within reach. One that wraps a stream has the peer
/// 127.0.0.9.
class OpenQXIO : public QXIO {
  public:
    explicit OpenQXIO(unsigned short port) : QXIO(L"127.0.0.1", port, 0, L"", 0, L"", L"") {}
    OpenQXIO(ProxyType proxy, unsigned short proxyPort)
        : QXIO(L"10.0.0.5", 9000, proxy, L"127.0.0.1", proxyPort, L"", L"") {}
    explicit OpenQXIO(ACE_SOCK_Stream& stream)
        : QXIO(&stream, ACE_INET_Addr(static_cast<u_short>(7), "127.0.0.9", AF_INET)) {}

    using QXIO::Asy_receive_init;
    using QXIO::Asy_send_init;
    using QXIO::handleSet_;
    using QXIO::peer_;
    using QXIO::pending_;
    using QXIO::proactor_;
    using QXIO::rxBlock_;
    using QXIO::sendIov_;
};

/// One received frame, whether plain or enciphered.
struct Received {
    char* data = nullptr;
    unsigned length = 0;
    std::string plainText;
    unsigned typeCode = 0;
    bool enciphered = false;

    int SyncFrom(QXIO& io) {
        return io.Syc_receive_data(data, length, plainText, typeCode, enciphered);
    }
    int AsyncFrom(QXIO& io) {
        return io.Asy_receive_data(data, length, plainText, typeCode, enciphered);
    }
    std::string Body() const {
        const char* plain =
            enciphered ? data
                       : reinterpret_cast<ACE_Message_Block*>(data)->rd_ptr() + kFrameHeaderSize;
        return {plain, length};
    }
};

/// Takes the calling thread's log lines while it lives, and keeps all lines off standard error.
class LogCapture : public ACE_Log_Msg_Callback {
  public:
    LogCapture() : before_(ACE_Log_Msg::instance()->msg_callback(this)) {
        ACE_Log_Msg::instance()->clr_flags(ACE_Log_Msg::STDERR);
        ACE_Log_Msg::instance()->set_flags(ACE_Log_Msg::MSG_CALLBACK);
    }
    ~LogCapture() override { ACE_Log_Msg::instance()->msg_callback(before_); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    void log(ACE_Log_Record& record) override {
        const std::string text = ACE_TEXT_ALWAYS_CHAR(record.msg_data());
        const bool dated = text.substr(0, 2) == "20";
        Of(record.type()).push_back(dated ? text.substr(26) : text);
    }
    /// Lines without their date, of the transport's own priority and of LM_ERROR.
    std::vector<std::string> progress;
    std::vector<std::string> errors;

  private:
    std::vector<std::string>& Of(ACE_UINT32 priority) {
        return priority == LM_ERROR ? errors : priority == 9 ? progress : others_;
    }

    std::vector<std::string> others_;
    ACE_Log_Msg_Callback* before_;
};

class TransportTest : public testing::Test {
  protected:
    LogCapture log_;
    Received got_;
};

inline int Option(const ACE_SOCK_Stream& stream, int level, int option) {
    int value = 0;  // Windows may set one byte of it
    int size = sizeof value;
    EXPECT_EQ(stream.get_option(level, option, &value, &size), 0);
    return value;
}

using Lines = std::vector<std::string>;

/// The platform's own text for an error that Winsock gives this number.
inline std::wstring PlatformText(const wchar_t* onLinux, int winsockNumber) {
    return qxdb_test::kOnWindows
               ? ToWide(platform::sockets::SocketErrorText(winsockNumber), kCodePageAnsi)
               : onLinux;
}

}  // namespace CQXBASE
