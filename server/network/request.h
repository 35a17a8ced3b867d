// One request on its way through the workers, and what comes out of it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <qxdb/Cancellation.h>

#include "server/network/frame_reader.h"
#include "server/network/reply_frame.h"

namespace CQXSERVER::network {

using ConnectionId = std::uint64_t;  ///< never used twice, unlike a socket's number

struct Request {
    ConnectionId connection = 0;
    std::string address;  ///< the client's, without the port
    std::string token;    ///< the last one accepted on this connection; "" before a login
    ReceivedFrame frame;
    /// Ends the request's work when its client is gone; null where nobody would.
    std::shared_ptr<CQXDB::Cancellation> cancellation;

    std::uint32_t Code() const noexcept { return frame.header.typeCode; }
    bool Enciphered() const noexcept { return frame.header.plainLength != 0; }
};

/// Which workers go on with a request.
enum class Crew {
    Strangers,  ///< what clients without a login ask for, as far as it takes no time
    Logins,     ///< password hashing
    Databases,
};

/// In which queue a request waits. Queues take turns, so that a long one holds up nobody else.
struct Lane {
    Crew crew = Crew::Strangers;
    std::string name;       ///< of an account or an address
    bool favoured = false;  ///< favoured queues get half of the turns however many others there are
};

/// Either a reply, or work that is left for another lane, maybe for a later time, and gives the
/// reply then. With neither the connection closes.
struct Outcome {
    std::optional<ReplyFrame> reply;
    std::string token;  ///< the connection's from now on
    std::function<Outcome()> later;
    Lane lane;
    std::chrono::milliseconds wait{0};
};

}  // namespace CQXSERVER::network
