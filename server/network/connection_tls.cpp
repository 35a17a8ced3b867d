// What a connection does otherwise under TLS.
#include <algorithm>
#include <string>
#include <utility>

#include "server/log.h"
#include "server/network/connection.h"

namespace CQXSERVER::network {
namespace {

using TlsState = CQXBASE::tls::ServerSession::State;

/// What TLS may hold of memory for a client that has not logged in.
constexpr std::size_t kTlsBytes = 40 * kKiB;
/// How much of a reply is made into records before it leaves.
constexpr std::size_t kRecordsAtOnce = 64 * kKiB;

}  // namespace

void Connection::BeginTls() {
    tlsLease_.emplace(host_.StrangersBuffers(), 0);
    while (!tlsLease_->GrowTo(kTlsBytes)) {
        if (!host_.FreeBuffers(*this)) {
            Close();
            return;
        }
    }
    tls_ = std::make_unique<CQXBASE::tls::ServerSession>(host_.Tls());
}

/// Goes on with what has come; a handshake waits for its turn.
void Connection::Decipher() {
    if (!Handshakes()) {
        LookAtTls();
    } else if (!std::exchange(awaitsHandshake_, true)) {
        lastMove_ = host_.Now();
        host_.AwaitHandshake(*this);
        UpdateMask();
    }
}

/// Deciphers for as long as it is the bytes' turn, so that no more of them wait deciphered than
/// there are in one record.
void Connection::LookAtTls() {
    const bool handshook = Handshakes();
    std::string& scratch = host_.Scratch();
    std::size_t count = 0;
    do {
        count = tls_->Read(scratch.data(), scratch.size());
        if (handshook && !Handshakes() && rejection_) {
            HandshakeIsOver();
        } else if (count > 0) {
            Consume(std::string_view(scratch).substr(0, count));
        }
    } while (count > 0 && ahead_.empty() && state_ != State::Draining && state_ != State::Closed);
    if (state_ == State::Closed) {
        return;
    }
    const TlsState now = tls_->GetState();
    if (handshook && now == TlsState::Open) {
        LogDebug("connection ", id_, ": ", tls_->Description());
    }
    if (state_ != State::Writing) {
        FlushTls();
    }
    if (now == TlsState::Failed && state_ != State::Draining && state_ != State::Closed) {
        LogDebug("connection ", id_, ": TLS failed: ", tls_->Reason());
        handshook ? host_.NoteFailedHandshake() : void();
        Drain();
    } else if (now == TlsState::Finished && !peerFinished_ && state_ != State::Draining) {
        EndOfInput();
    }
    UpdateMask();
}

void Connection::HandshakeIsOver() {
    if (tls_->GetState() == TlsState::Open) {
        Send(host_.ErrorReply(*std::exchange(rejection_, std::nullopt), false));
    }
}

/// Sends what TLS has to say; false when some of it is left, or the connection is closed.
bool Connection::FlushTls() {
    while (HasOutgoing()) {
        const std::string_view bytes = tls_->Outgoing();
        const ssize_t count = peer_.send(bytes.data(), bytes.size());
        if (count <= 0) {
            if (!WouldBlock()) {
                Close();
            }
            UpdateMask();
            return false;
        }
        tls_->Sent(static_cast<std::size_t>(count));
        lastMove_ = host_.Now();
    }
    UpdateMask();
    return state_ != State::Closed;
}

/// As WriteSome: the bytes of a reply count as moved once they are records.
bool Connection::WriteTls(std::string_view body) {
    const std::string_view header(reply_->header.data(), reply_->header.size());
    const std::string_view head = header.substr(std::min(moved_, header.size()));
    body = body.substr(0, kRecordsAtOnce);
    if (!tls_->Write(head, body)) {
        Close();
        return false;
    }
    moved_ += head.size() + body.size();
    if (reply_->streamed) {
        reply_->streamed->Skip(body.size());
    }
    if (!FlushTls()) {
        return false;
    }
    if (moved_ == reply_->Size()) {
        Sent();
    }
    return true;
}

/// As far as the socket takes it at once.
void Connection::SayFarewell() {
    if (tls_ == nullptr || !writerOpen_ || HasOutgoing()) {
        return;
    }
    tls_->Farewell();
    const std::string_view bytes = tls_->Outgoing();
    if (!bytes.empty()) {
        const ssize_t count = peer_.send(bytes.data(), bytes.size());
        tls_->Sent(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
}

}  // namespace CQXSERVER::network
