#include "server/network/frame_reader.h"

#include <algorithm>
#include <utility>

namespace CQXSERVER::network {

using CQXBASE::kFrameHeaderSize;

FrameReader::FrameReader(std::size_t maxBodyBytes, ByteBudget& budget, ByteBudget& strangers)
    : maxBodyBytes_(maxBodyBytes),
      budget_(&budget),
      strangers_(&strangers),
      frame_{{}, {}, ByteLease(budget)} {}

std::size_t FrameReader::Feed(const char* bytes, std::size_t count) {
    if (state_ == State::Partial && !Begun()) {
        admitted_ = false;
        frame_.lease = strange_ ? ByteLease(*strangers_, 0) : ByteLease(*budget_);
    }
    std::size_t taken = 0;
    if (state_ == State::Partial && frame_.bytes.size() < kFrameHeaderSize) {
        taken = Append(bytes, count, kFrameHeaderSize);
        if (frame_.bytes.size() == kFrameHeaderSize) {
            ReadHeader();
        }
    }
    if (state_ == State::Partial && frame_.bytes.size() >= kFrameHeaderSize) {
        taken += Append(bytes + taken, count - taken, Target());
        if (state_ == State::Partial && frame_.bytes.size() == Target()) {
            const bool whole = frame_.bytes.size() == kFrameHeaderSize + frame_.header.bodyLength;
            state_ = whole ? State::Complete : State::Unadmitted;
        }
    }
    return taken;
}

void FrameReader::Admit() noexcept {
    admitted_ = true;
    frame_.lease = ByteLease(*budget_);
    state_ = State::Partial;
}

ReceivedFrame FrameReader::Take() {
    state_ = State::Partial;
    return std::exchange(frame_, ReceivedFrame{{}, {}, ByteLease(*budget_)});
}

/// Where the frame ends, or the part of it that needs nobody's leave.
std::size_t FrameReader::Target() const noexcept {
    const std::size_t body = frame_.header.bodyLength;
    return kFrameHeaderSize + (admitted_ ? body : std::min(body, kSmallBody));
}

std::size_t FrameReader::Append(const char* bytes, std::size_t count, std::size_t target) {
    std::string& buffer = frame_.bytes;
    const std::size_t taken = std::min(count, target - buffer.size());
    const std::size_t needed = buffer.size() + taken;
    const std::size_t room = needed <= buffer.capacity()
                                 ? buffer.capacity()
                                 : std::min(target, std::max(needed, 2 * buffer.capacity()));
    if (!frame_.lease.GrowTo(room)) {
        state_ = State::OutOfBuffers;
        return 0;
    }
    buffer.reserve(room);
    buffer.append(bytes, taken);
    return taken;
}

void FrameReader::ReadHeader() {
    const char flag = frame_.bytes.front();
    frame_.header = CQXBASE::DecodeFrameHeader(frame_.bytes.data());
    if (flag != 0 && flag != 1) {
        state_ = State::Broken;
    } else if (frame_.header.bodyLength > maxBodyBytes_) {
        state_ = State::TooLarge;
    }
}

}  // namespace CQXSERVER::network
