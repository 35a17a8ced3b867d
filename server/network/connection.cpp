#include "server/network/connection.h"

#include <algorithm>
#include <exception>
#include <utility>

#include <ace/Reactor.h>
#include <ace/os_include/netinet/os_tcp.h>

#include "platform/sockets/errors.h"
#include "server/log.h"

namespace CQXSERVER::network {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kDrainTime{5000};
/// A peer that sends no more may yet read, but most such peers are gone.
constexpr milliseconds kFinishedTime{5000};

}  // namespace

bool Connection::WouldBlock() noexcept {
    using namespace CQXBASE::platform;
    const int error = sockets::WinsockNumber(sockets::LastError());
    return error == sockets::kWouldBlock || error == sockets::kInterrupted;
}

Connection::Connection(ConnectionId id, const ACE_SOCK_Stream& peer, std::string address,
                       ConnectionHost& host)
    : id_(id),
      peer_(peer),
      address_(std::move(address)),
      host_(host),
      since_(host.Now()),
      lastMove_(since_),
      reader_(host.GetLimits().maxFrameBytes, host.Buffers(), host.StrangersBuffers()),
      finished_(since_) {}

Connection::~Connection() {
    peer_.close();
}

template <class Step>
void Connection::Guarded(const Step& step) {
    try {
        step();
    } catch (const std::exception& e) {
        // No memory, most likely. What this client has sent or awaits is lost, which it must
        // notice.
        LogError("connection ", id_, ": closed: ", e.what());
        Close();
    }
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

/// Where there is TLS, the client's first byte tells how the reply is to be sent.
void Connection::Reject(ServerError error) {
    closing_ = true;
    if (host_.Tls() != nullptr) {
        rejection_ = error;
    } else {
        Guarded([&] { Send(host_.ErrorReply(error, false)); });
    }
}

void Connection::Finish(Outcome outcome) {
    if (state_ != State::Working) {
        return;
    }
    token_ = std::move(outcome.token);
    if (!token_.empty()) {
        tlsLease_.reset();
    }
    if (outcome.reply) {
        Guarded([&] { Send(*std::move(outcome.reply)); });
    } else {
        Close();
    }
}

void Connection::GoOnWithHandshake() {
    if (state_ != State::Closed) {
        awaitsHandshake_ = false;
        Guarded([this] { LookAtTls(); });
    }
}

void Connection::Continue() {
    if (state_ == State::Writing) {
        starved_ = false;
        Guarded([this] { Flush(); });
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
        SayFarewell();
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
    Guarded([this] { TakeInput(); });
    return 0;
}

void Connection::TakeInput() {
    std::string& scratch = host_.Scratch();
    const ssize_t count = peer_.recv(scratch.data(), scratch.size());
    if (count > 0) {
        Receive(static_cast<std::size_t>(count));
    } else if (count == 0) {
        EndOfInput();
    } else if (!WouldBlock()) {
        Close();
    }
}

void Connection::EndOfInput() {
    peerFinished_ = true;
    finished_ = host_.Now();
    if (state_ == State::Working || state_ == State::Writing) {
        UpdateMask();
    } else {
        Close();
    }
}

int Connection::handle_output(ACE_HANDLE) {
    Guarded([this] {
        if (state_ == State::Writing) {
            Flush();
        } else if (FlushTls() && state_ == State::Draining) {
            ShutWriter();
        }
    });
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
    lastMove_ = since_;
    moved_ = 0;
}

void Connection::UpdateMask() {
    if (state_ == State::Closed) {
        return;
    }
    const bool read =
        !peerFinished_ && !awaitsHandshake_ && (state_ == State::Draining || ahead_.empty());
    const bool write = (state_ == State::Writing && !starved_) || HasOutgoing();
    // Never no event at all: the reactor would keep a handler that is removed in that state.
    ACE_Reactor_Mask wanted = ACE_Event_Handler::EXCEPT_MASK;
    wanted |= read ? ACE_Event_Handler::READ_MASK : ACE_Event_Handler::NULL_MASK;
    wanted |= write ? ACE_Event_Handler::WRITE_MASK : ACE_Event_Handler::NULL_MASK;
    if (wanted != mask_) {
        mask_ = wanted;
        if (reactor()->mask_ops(this, wanted, ACE_Reactor::SET_MASK) == -1) {
            Close();  // or its peer would wait for what no event brings any more
        }
    }
}

TimePoint Connection::Deadline() const {
    const Limits& limits = host_.GetLimits();
    const auto travel = [&](std::size_t bytes) {
        return limits.requestTimeout + milliseconds(1000 * bytes / limits.minBytesPerSecond);
    };
    // Speed earned early doesn't pay for silence.
    const TimePoint silence = lastMove_ + limits.requestTimeout;
    switch (state_) {
        case State::Reading:
            if (Handshakes()) {
                return since_ + limits.requestTimeout;
            }
            if (reader_.Begun()) {
                return std::min(silence, since_ + travel(reader_.BytesTaken()));
            }
            return since_ + (token_.empty() ? limits.loginTimeout : limits.idleTimeout);
        case State::Writing:
            return std::min(silence, since_ + travel(moved_));
        case State::Draining:
            return std::min(lastMove_ + kDrainTime, since_ + travel(moved_));
        case State::Working:
            return peerFinished_ ? std::max(since_, finished_) + kFinishedTime : TimePoint::max();
        case State::Closed:
            break;
    }
    return TimePoint::max();
}

std::optional<TimePoint> Connection::IdleSince() const noexcept {
    const bool idle = state_ == State::Reading && !reader_.Begun() && !Handshakes();
    return idle ? std::optional<TimePoint>(since_) : std::nullopt;
}

std::optional<Connection::Held> Connection::HoldsBuffers() const noexcept {
    const ByteLease* const lease = state_ == State::Reading             ? &reader_.Lease()
                                   : state_ == State::Writing && reply_ ? &reply_->lease
                                                                        : nullptr;
    if (tlsLease_ && (lease == nullptr || lease->Bytes() == 0)) {
        return Held{&tlsLease_->Budget(), tlsLease_->Bytes(), lastMove_};
    }
    return lease != nullptr ? std::optional<Held>({&lease->Budget(), lease->Bytes(), lastMove_})
                            : std::nullopt;
}

}  // namespace CQXSERVER::network
