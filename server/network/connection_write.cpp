#include <algorithm>
#include <string_view>
#include <utility>

#include "server/network/connection.h"

namespace CQXSERVER::network {
namespace {

constexpr int kWritesPerEvent = 4;  ///< then the others get their turn

}  // namespace

void Connection::Send(ReplyFrame reply) {
    Enter(State::Writing);
    starved_ = false;
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

/// Writes what is ready and the socket takes; false when that is nothing for now.
bool Connection::FlushSome() {
    if (tls_ != nullptr && !FlushTls()) {
        return false;
    }
    if (moved_ == reply_->Size()) {  // of TLS, which has sent the last of it now
        Sent();
        return true;
    }
    const std::size_t headerSize = reply_->header.size();
    std::string_view body;
    if (reply_->streamed) {
        body = reply_->streamed->Ready(host_.Waker(id_));
        starved_ = body.empty() && moved_ >= headerSize;
        if (starved_) {
            return false;
        }
    } else {
        body = std::string_view(reply_->body).substr(moved_ - std::min(moved_, headerSize));
    }
    return WriteSome(body);
}

bool Connection::WriteSome(std::string_view body) {
    if (tls_ != nullptr) {
        return WriteTls(body);
    }
    const std::size_t headerLeft = reply_->header.size() - std::min(moved_, reply_->header.size());
    using Length = decltype(iovec::iov_len);
    iovec parts[2] = {};
    parts[0].iov_base = reply_->header.data() + (reply_->header.size() - headerLeft);
    parts[0].iov_len = static_cast<Length>(headerLeft);
    parts[1].iov_base = const_cast<char*>(body.data());
    parts[1].iov_len = static_cast<Length>(body.size());
    const ssize_t count = headerLeft > 0 ? peer_.sendv(parts, 2) : peer_.sendv(parts + 1, 1);
    if (count <= 0) {
        if (!WouldBlock()) {
            Close();
        }
        return false;
    }
    const auto written = static_cast<std::size_t>(count);
    moved_ += written;
    lastMove_ = host_.Now();
    if (reply_->streamed) {
        reply_->streamed->Skip(written - std::min(written, headerLeft));
    }
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
        if (tls_ != nullptr && state_ == State::Reading) {
            Decipher();
        }
    }
}

void Connection::Drain() {
    Enter(State::Draining);
    ahead_ = std::string();
    SayFarewell();
    if (HasOutgoing()) {
        UpdateMask();
    } else {
        ShutWriter();
    }
}

void Connection::ShutWriter() {
    if (std::exchange(writerOpen_, false) && (peerFinished_ || peer_.close_writer() == -1)) {
        Close();
    }
}

}  // namespace CQXSERVER::network
