// The way of an agent and its copies to their server.
#pragma once

#include <mutex>
#include <utility>

#include "transport/qxio.h"

namespace CQXDB {

struct SharedTransport {
    template <typename... Arguments>
    explicit SharedTransport(Arguments&&... arguments)
        : io(std::forward<Arguments>(arguments)...) {}

    std::recursive_mutex mutex;  ///< held from sending a request to decoding its reply
    CQXBASE::QXIO io;
};

}  // namespace CQXDB
