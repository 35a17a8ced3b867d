// The time that limits are measured with. Tests hand in one that they turn by hand.
#pragma once

#include <chrono>
#include <functional>

namespace CQXSERVER {

using TimePoint = std::chrono::steady_clock::time_point;
/// Callable from every thread.
using Clock = std::function<TimePoint()>;

inline TimePoint SteadyNow() {
    return std::chrono::steady_clock::now();
}

}  // namespace CQXSERVER
