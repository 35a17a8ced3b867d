// One request on its way through the workers, and what comes out of it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "server/network/frame_reader.h"
#include "server/network/reply_frame.h"

namespace CQXSERVER::network {

using ConnectionId = std::uint64_t;  ///< never used twice, unlike a socket's number

struct Request {
    ConnectionId connection = 0;
    std::string address;  ///< the client's, without the port
    std::string token;    ///< the last one accepted on this connection; "" before a login
    ReceivedFrame frame;

    std::uint32_t Code() const noexcept { return frame.header.typeCode; }
    bool Enciphered() const noexcept { return frame.header.plainLength != 0; }
};

/// Either a reply, or work that has to wait for its time and gives the reply then. With neither the
/// connection closes.
struct Outcome {
    std::optional<ReplyFrame> reply;
    std::string token;  ///< the connection's from now on
    std::chrono::milliseconds wait{0};
    std::function<Outcome()> later;
};

}  // namespace CQXSERVER::network
