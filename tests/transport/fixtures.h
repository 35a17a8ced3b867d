// What the transport's tests share: a record of any bytes, an open transport, captured log lines.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include <ace/CDR_Stream.h>
#include <ace/Log_Msg.h>
#include <ace/Log_Msg_Callback.h>
#include <ace/Log_Record.h>

#include <qxdb/QXIOBase.h>

#include "transport/qxio.h"

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

/// The transport with its steps and state within reach.
class OpenQXIO : public QXIO {
  public:
    using QXIO::QXIO;
    explicit OpenQXIO(unsigned short port) : QXIO(L"127.0.0.1", port, 0, L"", 0, L"", L"") {}
    explicit OpenQXIO(ACE_SOCK_Stream& stream) : QXIO(&stream, Remote()) {}

    static ACE_INET_Addr Remote() {
        return ACE_INET_Addr(static_cast<u_short>(7), "127.0.0.9", AF_INET);
    }

    using QXIO::Asy_receive_init;
    using QXIO::Asy_send_init;
    using QXIO::handleSet_;
    using QXIO::lastErrorCode_;
    using QXIO::lastErrorText_;
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
        return enciphered
                   ? std::string(data, length)
                   : std::string(reinterpret_cast<ACE_Message_Block*>(data)->rd_ptr() + 16, length);
    }
};

/// Takes the calling thread's log lines while it lives, and keeps all lines off standard error.
class LogCapture : public ACE_Log_Msg_Callback {
  public:
    struct Line {
        unsigned long priority;
        std::string text;
    };

    LogCapture() {
        ACE_Log_Msg* log = ACE_Log_Msg::instance();
        before_ = log->msg_callback(this);
        log->clr_flags(ACE_Log_Msg::STDERR);
        log->set_flags(ACE_Log_Msg::MSG_CALLBACK);
    }
    ~LogCapture() override { ACE_Log_Msg::instance()->msg_callback(before_); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    void log(ACE_Log_Record& record) override {
        lines_.push_back({record.type(), ACE_TEXT_ALWAYS_CHAR(record.msg_data())});
    }
    /// Lines of `priority` without the date that they begin with.
    std::vector<std::string> Lines(unsigned long priority) const;
    /// All lines of `priority` as they are.
    std::string Text(unsigned long priority) const;

  private:
    ACE_Log_Msg_Callback* before_;
    std::vector<Line> lines_;
};

inline std::vector<std::string> LogCapture::Lines(unsigned long priority) const {
    constexpr std::size_t kDateLength = 26;
    std::vector<std::string> texts;
    for (const Line& line : lines_) {
        if (line.priority == priority) {
            texts.push_back(line.text.substr(std::min(kDateLength, line.text.size())));
        }
    }
    return texts;
}

inline std::string LogCapture::Text(unsigned long priority) const {
    std::string text;
    for (const Line& line : lines_) {
        text += line.priority == priority ? line.text : "";
    }
    return text;
}

}  // namespace CQXBASE
