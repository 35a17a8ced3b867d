#include "server/network/handshake_queue.h"

namespace CQXSERVER::network {

void HandshakeQueue::Add(const std::string& address, ConnectionId id) {
    waiting_[address].push_back(id);
}

std::optional<ConnectionId> HandshakeQueue::Next() {
    while (!waiting_.empty()) {
        auto next = waiting_.upper_bound(last_);
        next = next == waiting_.end() ? waiting_.begin() : next;
        last_ = next->first;
        std::deque<ConnectionId>& queue = next->second;
        std::optional<ConnectionId> id;
        if (!queue.empty()) {  // which it is when there was no memory for its first one
            id = queue.front();
            queue.pop_front();
        }
        if (queue.empty()) {
            waiting_.erase(next);
        }
        if (id) {
            return id;
        }
    }
    return std::nullopt;
}

}  // namespace CQXSERVER::network
