// Cuts the bytes of a connection into frames.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "server/byte_budget.h"
#include "server/server_options.h"
#include "transport/frame.h"

namespace CQXSERVER::network {

/// A frame as it arrived, header included.
struct ReceivedFrame {
    CQXBASE::FrameHeader header;
    std::string bytes;
    ByteLease lease;  ///< for `bytes`
};

/// The buffer grows with the bytes that have arrived, never with what a header claims. Of a large
/// frame only the beginning is taken until somebody has looked at it and admits the rest.
class FrameReader {
  public:
    /// Bodies up to this length need nobody's leave: a login of the greatest length is one.
    static constexpr std::size_t kSmallBody = 8 * kKiB + 256;

    enum class State {
        Partial,       ///< more bytes are needed
        Complete,      ///< a frame waits for Take
        Unadmitted,    ///< kSmallBody bytes of a longer body are there, and wait for Admit
        Broken,        ///< what arrived is no frame of this protocol; final
        TooLarge,      ///< the header, of which Header() tells, claims a body over the limit; final
        OutOfBuffers,  ///< the budget is used up; Retry after making room
    };

    /// Frames come out of `budget`. The beginning of one comes out of `strangers` while Strange is
    /// set, whatever its size.
    FrameReader(std::size_t maxBodyBytes, ByteBudget& budget, ByteBudget& strangers);

    /// For the frames that begin from now on.
    void SetStrange(bool strange) noexcept { strange_ = strange; }

    /// Takes bytes up to the end of the present frame, or up to where it has to be admitted, and
    /// returns how many. None in any state but Partial.
    std::size_t Feed(const char* bytes, std::size_t count);
    void Admit() noexcept;
    void Retry() noexcept { state_ = State::Partial; }

    State GetState() const noexcept { return state_; }
    bool Begun() const noexcept { return !frame_.bytes.empty(); }
    std::size_t BytesTaken() const noexcept {
        return frame_.bytes.size();
    }  ///< of the present frame
    const CQXBASE::FrameHeader& Header() const noexcept { return frame_.header; }
    /// What is there of the present frame's body.
    std::string_view Body() const noexcept {
        return std::string_view(frame_.bytes).substr(CQXBASE::kFrameHeaderSize);
    }
    /// For the present frame.
    const ByteLease& Lease() const noexcept { return frame_.lease; }

    /// The complete frame; the next one may then begin.
    ReceivedFrame Take();

  private:
    std::size_t Append(const char* bytes, std::size_t count, std::size_t target);
    void ReadHeader();
    std::size_t Target() const noexcept;

    const std::size_t maxBodyBytes_;
    ByteBudget* budget_;  ///< borrowed, as the next one
    ByteBudget* strangers_;
    bool strange_ = true;
    bool admitted_ = false;
    ReceivedFrame frame_;
    State state_ = State::Partial;
};

}  // namespace CQXSERVER::network
