// The way of an agent and its copies to their server.
#pragma once

#include <utility>

#include "transport/qxio.h"
#include "util/critical_section.h"

namespace CQXDB {

struct SharedTransport {
    template <typename... Arguments>
    explicit SharedTransport(Arguments&&... arguments)
        : io(std::forward<Arguments>(arguments)...) {}

    CQXBASE::critical_section lock;  ///< held from sending a request to decoding its reply
    CQXBASE::QXIO io;
};

}  // namespace CQXDB
