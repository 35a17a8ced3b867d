// Cuts the bytes of a connection into frames.
#pragma once

#include <cstddef>
#include <string>

#include "server/byte_budget.h"
#include "transport/frame.h"

namespace CQXSERVER::network {

/// A frame as it arrived, header included.
struct ReceivedFrame {
    CQXBASE::FrameHeader header;
    std::string bytes;
    ByteLease lease;  ///< for `bytes`
};

/// The buffer grows with the bytes that have arrived, never with what a header claims.
class FrameReader {
  public:
    enum class State {
        Partial,       ///< more bytes are needed
        Complete,      ///< a frame waits for Take
        Broken,        ///< what arrived is no frame of this protocol
        TooLarge,      ///< the header, of which Header() tells, claims a body over the limit
        OutOfBuffers,  ///< the budget is used up
    };

    FrameReader(std::size_t maxBodyBytes, ByteBudget& budget);

    /// Takes bytes up to the end of the present frame and returns how many. None in any state but
    /// Partial; the last three states are final.
    std::size_t Feed(const char* bytes, std::size_t count);

    State GetState() const noexcept { return state_; }
    bool Begun() const noexcept { return !frame_.bytes.empty(); }
    std::size_t BytesTaken() const noexcept {
        return frame_.bytes.size();
    }  ///< of the present frame
    const CQXBASE::FrameHeader& Header() const noexcept { return frame_.header; }

    /// The complete frame; the next one may then begin.
    ReceivedFrame Take();

  private:
    std::size_t Append(const char* bytes, std::size_t count, std::size_t target);
    void ReadHeader();

    const std::size_t maxBodyBytes_;
    ByteBudget* budget_;  ///< borrowed
    ReceivedFrame frame_;
    State state_ = State::Partial;
};

}  // namespace CQXSERVER::network
