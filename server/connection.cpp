#include "server/connection.h"

#include <algorithm>
#include <utility>

#include <ace/OS_NS_errno.h>
#include <ace/Reactor.h>
#include <ace/os_include/netinet/os_tcp.h>

namespace CQXSERVER {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kDrainTime{5000};
constexpr int kWritesPerEvent = 4;  ///< then the others get their turn

bool WouldBlock() noexcept {
    const int error = ACE_OS::last_error();
    return error == EWOULDBLOCK || error == EAGAIN || error == EINTR;
}

}  // namespace

Connection::Connection(ConnectionId id, const ACE_SOCK_Stream& peer, std::string address,
                       ConnectionHost& host)
    : id_(id),
      peer_(peer),
      address_(std::move(address)),
      host_(host),
      since_(host.Now()),
      reader_(host.GetLimits().maxFrameBytes, host.Buffers()) {}

Connection::~Connection() {
    peer_.close();
}

bool Connection::Open(ACE_Reactor& newReactor) {
    int on = 1;
    reactor(&newReactor);
    mask_ = ACE_Event_Handler::READ_MASK | ACE_Event_Handler::EXCEPT_MASK;
    if (peer_.enable(ACE_NONBLOCK) == -1 || newReactor.register_handler(this, mask_) == -1) {
        mask_ = ACE_Event_Handler::NULL_MASK;
        Close();
        return false;
    }
    peer_.set_option(IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    peer_.set_option(SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
    return true;
}

void Connection::Reject(ServerError error) {
    closing_ = true;
    Send(host_.ErrorReply(error, false));
}

void Connection::Finish(Outcome outcome) {
    if (state_ != State::Working) {
        return;
    }
    token_ = std::move(outcome.token);
    if (outcome.reply) {
        Send(*std::move(outcome.reply));
    } else {
        Close();
    }
}

bool Connection::CloseIfLate(TimePoint now) {
    if (state_ == State::Closed || now < Deadline()) {
        return false;
    }
    Close();
    return true;
}

void Connection::CloseUnlessBusy() {
    if (state_ != State::Working && state_ != State::Writing) {
        Close();
    }
}

void Connection::Close() {
    if (state_ != State::Closed) {
        state_ = State::Closed;
        if (reactor() != nullptr) {
            reactor()->remove_handler(
                this, ACE_Event_Handler::ALL_EVENTS_MASK | ACE_Event_Handler::DONT_CALL);
        }
        peer_.close();
        host_.Retire(id_);
    }
}

int Connection::handle_input(ACE_HANDLE) {
    std::string& scratch = host_.Scratch();
    const ssize_t count = peer_.recv(scratch.data(), scratch.size());
    if (count > 0) {
        Receive(static_cast<std::size_t>(count));
    } else if (count == 0) {
        peerFinished_ = true;
        if (state_ == State::Working || state_ == State::Writing) {
            UpdateMask();
        } else {
            Close();
        }
    } else if (!WouldBlock()) {
        Close();
    }
    return 0;
}

int Connection::handle_output(ACE_HANDLE) {
    Flush();
    return 0;
}

// The reactor has dropped the handler by itself: the socket is in error, or the peer has sent
// urgent data, which this protocol has no use for.
int Connection::handle_close(ACE_HANDLE, ACE_Reactor_Mask) {
    reactor(nullptr);
    Close();
    return 0;
}

void Connection::Enter(State state) {
    state_ = state;
    since_ = host_.Now();
    moved_ = 0;
}

void Connection::Receive(std::size_t count) {
    if (state_ == State::Draining) {
        moved_ += count;
        return;
    }
    Consume(std::string_view(host_.Scratch()).substr(0, count));
}

/// Takes bytes in their order; those that come before their turn wait in ahead_, which is empty
/// here.
void Connection::Consume(std::string_view bytes) {
    if (state_ == State::Reading && !bytes.empty()) {
        if (!reader_.Begun()) {
            since_ = host_.Now();
        }
        bytes.remove_prefix(reader_.Feed(bytes.data(), bytes.size()));
        ahead_ = bytes;
        if (reader_.GetState() == FrameReader::State::Complete) {
            Submit();
        } else if (reader_.GetState() != FrameReader::State::Partial) {
            RejectFrame();
        }
    } else {
        ahead_ = bytes;
    }
    if (state_ == State::Reading && peerFinished_) {
        Close();
    }
    UpdateMask();
}

void Connection::Submit() {
    Enter(State::Working);
    host_.Submit({id_, address_, token_, reader_.Take()});
}

void Connection::RejectFrame() {
    if (reader_.GetState() == FrameReader::State::Broken) {
        Close();
        return;
    }
    closing_ = true;
    const bool tooLarge = reader_.GetState() == FrameReader::State::TooLarge;
    Send(host_.ErrorReply(tooLarge ? ServerError::FrameTooLarge : ServerError::OutOfBuffers,
                          reader_.Header().plainLength != 0));
}

void Connection::Send(ReplyFrame reply) {
    Enter(State::Writing);
    reply_ = std::move(reply);
    Flush();
}

void Connection::Flush() {
    for (int i = 0; i < kWritesPerEvent && state_ == State::Writing; ++i) {
        if (!FlushSome()) {
            break;
        }
    }
    UpdateMask();
}

/// Writes what the socket takes; false when that is nothing for now.
bool Connection::FlushSome() {
    const std::size_t headerLeft = reply_->header.size() - std::min(moved_, reply_->header.size());
    const std::size_t bodyDone = moved_ - std::min(moved_, reply_->header.size());
    iovec parts[2] = {};
    parts[0].iov_base = reply_->header.data() + (reply_->header.size() - headerLeft);
    parts[0].iov_len = headerLeft;
    parts[1].iov_base = reply_->body.data() + bodyDone;
    parts[1].iov_len = reply_->body.size() - bodyDone;
    const ssize_t count = headerLeft > 0 ? peer_.sendv(parts, 2) : peer_.sendv(parts + 1, 1);
    if (count <= 0) {
        if (!WouldBlock()) {
            Close();
        }
        return false;
    }
    moved_ += static_cast<std::size_t>(count);
    if (moved_ == reply_->Size()) {
        Sent();
    }
    return true;
}

void Connection::Sent() {
    reply_.reset();
    if (closing_ || (host_.Stopping() && !ahead_.empty())) {
        Drain();
    } else if (host_.Stopping()) {
        Close();
    } else {
        Enter(State::Reading);
        const std::string ahead = std::exchange(ahead_, std::string());
        Consume(ahead);
    }
}

void Connection::Drain() {
    Enter(State::Draining);
    ahead_ = std::string();
    if (peerFinished_ || peer_.close_writer() == -1) {
        Close();
    }
}

void Connection::UpdateMask() {
    if (state_ == State::Closed) {
        return;
    }
    const bool read = !peerFinished_ && (state_ == State::Draining || ahead_.empty());
    // Never no event at all: the reactor would keep a handler that is removed in that state.
    ACE_Reactor_Mask wanted = ACE_Event_Handler::EXCEPT_MASK;
    wanted |= read ? ACE_Event_Handler::READ_MASK : ACE_Event_Handler::NULL_MASK;
    wanted |=
        state_ == State::Writing ? ACE_Event_Handler::WRITE_MASK : ACE_Event_Handler::NULL_MASK;
    if (wanted != mask_) {
        mask_ = wanted;
        reactor()->mask_ops(this, wanted, ACE_Reactor::SET_MASK);
    }
}

TimePoint Connection::Deadline() const {
    const Limits& limits = host_.GetLimits();
    const auto travel = [&](std::size_t bytes) {
        return limits.requestTimeout + milliseconds(1000 * bytes / limits.minBytesPerSecond);
    };
    switch (state_) {
        case State::Reading:
            if (reader_.Begun()) {
                return since_ + travel(reader_.BytesTaken());
            }
            return since_ + (token_.empty() ? limits.loginTimeout : limits.idleTimeout);
        case State::Writing:
            return since_ + travel(moved_);
        case State::Draining:
            return since_ + kDrainTime;
        case State::Working:
        case State::Closed:
            break;
    }
    return TimePoint::max();
}

}  // namespace CQXSERVER
