// The receiving half of the overlapped exchange: the header's read, then those of the body.
#include <algorithm>
#include <cerrno>

#include <ace/Message_Block.h>

#include "errors/caught_exception.h"
#include "platform/sockets/errors.h"
#include "platform/sockets/transfer.h"
#include "transport/frame.h"
#include "transport/qxio.h"
#include "transport/result_codes.h"

namespace CQXBASE {
namespace {

/// Room in the receive block beyond the body: the header and some slack.
constexpr std::uint64_t kBesideBody = 24;

}  // namespace

int QXIO::Asy_receive_data(char*& data, unsigned& length, std::string& plainText,
                           unsigned& typeCode, bool& enciphered) {
    const auto receive = [&] {
        if (refuse_asynchronous()) {
            return -1;
        }
        ensure_proactor();
        const PendingGuard guard(*this);
        if (Asy_receive_init() != 0 || Asy_receive_header() != 0) {
            return -1;
        }
        run_completions(&QXIO::receive_over);
        if (rxDone_ == 0 || rxReceived_ != rxExpected_ || rxExpected_ == 0) {
            return -1;
        }
        midExchange_ = false;
        enciphered = rxPlainLength_ > 0;
        return enciphered ? pipe_before_recv(data, length, plainText, typeCode, enciphered)
                          : hand_out_plain(data, length, typeCode);
    };
    return RunProtected(QXDB_SITE(L"qxio", L"CQXBASE::QXIO::Asy_receive_data"), receive,
                        [this](const CaughtException& caught) {
                            set_last_error(-1, caught.text());
                            return -1;
                        });
}

bool QXIO::receive_over() const {
    return rxDone_ != 0;
}

int QXIO::Asy_receive_init() {
    rxExpected_ = 0;
    rxReceived_ = 0;
    rxDone_ = 0;
    // A block that is there stands for an opened reader, also when a blocking receive made it.
    if (rxBlock_ == nullptr && open_reader() != 0) {
        return kReaderNotOpened;
    }
    return ResetBlock(rxBlock_) ? 0 : kNoReceiveBlock;
}

int QXIO::open_reader() {
    reader_.emplace();
    readerConnection_ = connection_;
    platform::sockets::ClearLastError();
    if (peer_ == nullptr) {
        platform::sockets::SetNotConnected();
    } else if (reader_->open(*this, handle(), nullptr, proactor_.get()) == 0) {
        return 0;
    }
    record_socket_error(L"Asynch_Read_Stream::open", lastErrorCode_, lastErrorText_);
    return -1;
}

int QXIO::Asy_receive_header() {
    return Asy_receive_block(kFrameHeaderSize);
}

int QXIO::Asy_receive_block(std::size_t count) {
    platform::sockets::ClearLastError();
    if (start_read(count) == 0) {
        return 0;
    }
    record_socket_error(L"Asy_receive_block::read", lastErrorCode_, lastErrorText_);
    return -1;
}

int QXIO::start_read(std::size_t count) {
    if (!reader_) {
        errno = EFAULT;
        return -1;
    }
    // The reader stays with the first connection, whose socket number may be another's by now.
    if (peer_ == nullptr || readerConnection_ != connection_) {
        platform::sockets::SetStaleSocket();
        return -1;
    }
    if ((rxBlock_->space() == 0 && !make_room(count)) ||
        reader_->read(*rxBlock_, std::min(count, rxBlock_->space()), nullptr, 0, 0) == -1) {
        return -1;
    }
    ++pending_;
    return 0;
}

bool QXIO::make_room(std::size_t count) {
    return MakeRoom(*rxBlock_, std::min(count, kReadChunk), rxExpected_ + kBesideBody);
}

void QXIO::handle_read_stream(const ACE_Asynch_Read_Stream::Result& result) {
    const auto handled = [&] {
        --pending_;
        on_read(result);
        return 0;
    };
    RunProtected(QXDB_SITE(L"qxio", L"CQXBASE::QXIO::handle_read_stream"), kUnexpectedErrorText,
                 handled, &QXIO::log_handler_error);
}

void QXIO::on_read(const ACE_Asynch_Read_Stream::Result& result) {
    using platform::sockets::Direction;
    if (!result.success() &&
        platform::sockets::ReadyAfter(result.error(), handle(), Direction::Read)) {
        Asy_receive_block(rxExpected_ == 0 ? kFrameHeaderSize : rxExpected_ - rxReceived_);
        return;
    }
    const bool counted = result.success() && result.bytes_transferred() > 0 && count_read(result);
    if (counted && rxReceived_ < rxExpected_) {
        Asy_receive_block(rxExpected_ - rxReceived_);
    } else {
        rxDone_ = 1;
    }
}

bool QXIO::count_read(const ACE_Asynch_Read_Stream::Result& result) {
    if (rxExpected_ != 0) {
        rxReceived_ += static_cast<std::uint32_t>(result.bytes_transferred());
        return true;
    }
    if (result.bytes_transferred() != kFrameHeaderSize) {
        return false;
    }
    take_header(result.message_block().rd_ptr());
    rxExpected_ = rxBodyLength_;
    make_room(rxExpected_);  // when there is no memory, the reads find out
    return true;
}

}  // namespace CQXBASE
