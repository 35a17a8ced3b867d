// The sending half of the overlapped exchange: the header's write, then the body's.
#include <algorithm>
#include <cerrno>
#include <new>

#include <ace/os_include/netinet/os_tcp.h>

#include "errors/caught_exception.h"
#include "platform/sockets/errors.h"
#include "platform/sockets/transfer.h"
#include "transport/outgoing_frame.h"
#include "transport/qxio.h"

namespace CQXBASE {
namespace {

using platform::sockets::Direction;

constexpr std::size_t kMostOfHeader = 512;

/// A block over memory that stays the caller's.
BlockPtr BlockOver(const char* bytes, std::size_t count) {
    BlockPtr block(new (std::nothrow) ACE_Message_Block(bytes, count));
    if (block != nullptr && block->data_block() == nullptr) {
        block.reset();
    }
    if (block != nullptr) {
        block->wr_ptr(count);
    }
    return block;
}

/// Header and body are two writes; without this the second waits for the peer's acknowledgement of
/// the first, which systems hold back for some 40 ms.
void SendAtOnce(ACE_SOCK_Stream& stream) {
    int on = 1;
    stream.set_option(ACE_IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

}  // namespace

int QXIO::Asy_sendobj(QXIOBase& obj, unsigned typeCode, bool encipher) {
    const auto send = [&] {
        if (refuse_asynchronous()) {
            return -1;
        }
        ensure_proactor();
        Asy_send_init();
        OutgoingFrame frame(obj);
        const PendingGuard guard(*this);  // ends before the frame's memory goes
        if (pipe_before_send(frame.Body(), frame.Header(), typeCode, frame.MaxLength(), encipher,
                             frame.CipherText()) != 0 ||
            open_connection() != 0 || Asy_send_header() != 0) {
            return -1;
        }
        run_completions(&QXIO::send_over);
        return send_result();
    };
    return RunProtected(QXDB_SITE(L"qxio", L"CQXBASE::QXIO::Asy_sendobj"), send,
                        [this](const CaughtException& caught) {
                            set_last_error(-1, caught.text());
                            return -1;
                        });
}

int QXIO::send_result() {
    const bool whole = sendDone_ != 0 && sendTotal_ == sendWritten_ && sendTotal_ > 0;
    if (whole && !headerCut_) {
        return 0;
    }
    if (lastErrorCode_ == 0) {
        set_last_error(-1, L"发送数据失败。");
    }
    return -1;
}

bool QXIO::send_over() const {
    return sendDone_ != 0;
}

void QXIO::Asy_send_init() {
    if (!ownsStream_ && sendDone_ == -1) {
        open_writer();
    }
    sendTotal_ = 0;
    sendWritten_ = 0;
    sendDone_ = 0;
    headerCut_ = false;
    sendIov_[0] = {};
    sendIov_[1] = {};
}

int QXIO::open_writer() {
    writer_.emplace();
    writerConnection_ = connection_;
    if (peer_ == nullptr) {
        platform::sockets::SetNotConnected();
    } else {
        if (ownsStream_) {
            SendAtOnce(*peer_);
        }
        platform::sockets::ClearLastError();
        if (writer_->open(*this, handle(), nullptr, proactor_.get()) == 0) {
            return 0;
        }
    }
    record_socket_error(L"Asynch_Write_Stream::open", lastErrorCode_, lastErrorText_);
    return -1;
}

int QXIO::Asy_send_header() {
    return Asy_send_block(sendIov_[0], 0, kMostOfHeader);
}

int QXIO::Asy_send_block(const iovec& part, std::size_t offset, std::size_t count) {
    const std::size_t length = std::min<std::size_t>(count, part.iov_len - offset);
    platform::sockets::ClearLastError();
    if (start_write(BlockOver(static_cast<const char*>(part.iov_base) + offset, length), length) ==
        0) {
        return 0;
    }
    record_socket_error(L"Asynch_Write_Stream::write", lastErrorCode_, lastErrorText_);
    return -1;
}

int QXIO::start_write(BlockPtr block, std::size_t count) {
    if (block == nullptr) {
        errno = ENOMEM;
        return -1;
    }
    if (!writer_) {
        errno = EFAULT;
        return -1;
    }
    if (peer_ == nullptr || writerConnection_ != connection_) {
        platform::sockets::SetStaleSocket();
        return -1;
    }
    if (writer_->write(*block, count, nullptr, 0, 0) == -1) {
        return -1;
    }
    midExchange_ = true;
    ++pending_;
    static_cast<void>(block.release());  // the completion's handler takes it
    return 0;
}

void QXIO::handle_write_stream(const ACE_Asynch_Write_Stream::Result& result) {
    const auto handled = [&] {
        --pending_;
        const BlockPtr written(&result.message_block());
        on_written(result);
        return 0;
    };
    RunProtected(QXDB_SITE(L"qxio", L"CQXBASE::QXIO::handle_write_stream"), kUnexpectedErrorText,
                 handled, &QXIO::log_handler_error);
}

void QXIO::on_written(const ACE_Asynch_Write_Stream::Result& result) {
    if (!result.success()) {
        if (platform::sockets::ReadyAfter(result.error(), handle(), Direction::Write)) {
            resume_write(result.message_block(), result.bytes_to_write());
        } else {
            sendDone_ = 1;
        }
        return;
    }
    const std::size_t transferred = result.bytes_transferred();
    const std::size_t remainder = result.bytes_to_write() - transferred;
    if (sendTotal_ == 0) {
        sendTotal_ = static_cast<std::uint32_t>(sendIov_[1].iov_len);
        headerCut_ = remainder != 0;
    } else {
        sendWritten_ += static_cast<std::uint32_t>(transferred);
    }
    if (remainder != 0) {
        resume_write(result.message_block(), remainder);
    } else if (sendTotal_ > sendWritten_ && !headerCut_) {
        Asy_send_block(sendIov_[1], sendWritten_, sendTotal_ - sendWritten_);
    } else {
        sendDone_ = 1;
    }
}

void QXIO::resume_write(const ACE_Message_Block& written, std::size_t remainder) {
    BlockPtr rest(written.duplicate());
    if (rest != nullptr) {
        rest->rd_ptr(rest->wr_ptr() - remainder);
    }
    if (start_write(std::move(rest), remainder) == -1) {
        LogLine(LM_ERROR, __LINE__, -1, errno, ACE_TEXT("%p\n"),
                ACE_TEXT("ACE_Asynch_Write_Stream::write"));
    }
}

}  // namespace CQXBASE
