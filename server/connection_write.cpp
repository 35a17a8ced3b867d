#include <algorithm>
#include <utility>

#include "server/connection.h"

namespace CQXSERVER {
namespace {

constexpr int kWritesPerEvent = 4;  ///< then the others get their turn

}  // namespace

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
    using Length = decltype(iovec::iov_len);
    iovec parts[2] = {};
    parts[0].iov_base = reply_->header.data() + (reply_->header.size() - headerLeft);
    parts[0].iov_len = static_cast<Length>(headerLeft);
    parts[1].iov_base = reply_->body.data() + bodyDone;
    parts[1].iov_len = static_cast<Length>(reply_->body.size() - bodyDone);
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

}  // namespace CQXSERVER
