#include <utility>

#include "server/network/connection.h"

namespace CQXSERVER::network {

void Connection::Receive(std::size_t count) {
    if (state_ == State::Draining) {
        moved_ += count;
        lastMove_ = host_.Now();
        return;
    }
    const auto bytes = std::string_view(host_.Scratch()).substr(0, count);
    if (!std::exchange(begun_, true)) {
        if (bytes.front() == CQXBASE::tls::ServerSession::kFirstByte && host_.Tls() != nullptr) {
            BeginTls();
        } else if (rejection_) {
            Send(host_.ErrorReply(*rejection_, false));
            return;
        }
    }
    if (tls_ == nullptr) {
        Consume(bytes);
    } else if (state_ != State::Closed) {
        tls_->Feed(bytes);
        Decipher();
    }
}

/// Takes bytes in their order; those that come before their turn wait in ahead_, which is empty
/// here.
void Connection::Consume(std::string_view bytes) {
    if (state_ == State::Reading && !bytes.empty()) {
        Read(bytes);
    } else {
        ahead_ = bytes;
    }
    if (state_ == State::Reading && peerFinished_) {
        Close();
    }
    UpdateMask();
}

void Connection::Read(std::string_view bytes) {
    lastMove_ = host_.Now();
    if (!reader_.Begun()) {
        since_ = lastMove_;
        reader_.SetStrange(token_.empty());
    }
    do {
        bytes.remove_prefix(reader_.Feed(bytes.data(), bytes.size()));
    } while (state_ == State::Reading && ReadOn());
    if (state_ == State::Reading && reader_.GetState() == FrameReader::State::Complete) {
        ahead_ = bytes;
        LacksTls() ? RejectFrame(ServerError::TlsRequired) : Submit();
    }
}

bool Connection::LacksTls() const {
    return tls_ == nullptr && host_.RequiresTls();
}

/// True when the reader can take more of what is there.
bool Connection::ReadOn() {
    switch (reader_.GetState()) {
        case FrameReader::State::Partial:
        case FrameReader::State::Complete:
            return false;
        case FrameReader::State::Unadmitted: {
            const ServerError error =
                LacksTls() ? ServerError::TlsRequired : host_.Admit(reader_, token_);
            if (error != ServerError::None) {
                RejectFrame(error);
                return false;
            }
            reader_.Admit();
            return true;
        }
        case FrameReader::State::OutOfBuffers:
            if (!host_.FreeBuffers(*this)) {
                RejectFrame(ServerError::OutOfBuffers);
                return false;
            }
            reader_.Retry();
            return true;
        case FrameReader::State::TooLarge:
            RejectFrame(ServerError::FrameTooLarge);
            return false;
        case FrameReader::State::Broken:
            break;
    }
    Close();
    return false;
}

void Connection::Submit() {
    Enter(State::Working);
    host_.Submit({id_, address_, token_, reader_.Take(), nullptr});
}

void Connection::RejectFrame(ServerError error) {
    closing_ = true;
    const bool enciphered = reader_.Take().header.plainLength != 0;  // and its buffer is given back
    Send(host_.ErrorReply(error, enciphered));
}

}  // namespace CQXSERVER::network
