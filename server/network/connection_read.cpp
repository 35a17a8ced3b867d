#include <utility>

#include "server/network/connection.h"

namespace CQXSERVER::network {

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

}  // namespace CQXSERVER::network
