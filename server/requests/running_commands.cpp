#include "server/requests/running_commands.h"

#include <utility>

namespace CQXSERVER::requests {

RunningCommands::Entry::Entry(RunningCommands& all, const Token& token,
                              std::shared_ptr<CQXDB::Cancellation> cancellation)
    : all_(all) {
    const std::lock_guard<std::mutex> lock(all_.mutex_);
    place_ = all_.commands_.emplace(token, std::move(cancellation));
}

RunningCommands::Entry::~Entry() {
    const std::lock_guard<std::mutex> lock(all_.mutex_);
    all_.commands_.erase(place_);
}

std::size_t RunningCommands::Cancel(const Token& token) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto [first, last] = commands_.equal_range(token);
    std::size_t count = 0;
    for (auto each = first; each != last; ++each) {
        canceller_.Add(each->second);
        ++count;
    }
    return count;
}

}  // namespace CQXSERVER::requests
