#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <unistd.h>

#include <climits>

#include "platform/console/error_stream.h"

namespace CQXBASE::platform::console {
namespace {

/// A pipe that has room has room for as much as this, so that writing no more never waits.
constexpr std::size_t kAtOnce = PIPE_BUF;

bool HasRoom(std::chrono::steady_clock::time_point until) noexcept {
    using std::chrono::milliseconds;
    pollfd stream{STDERR_FILENO, POLLOUT, 0};
    int ready = 0;
    do {
        const auto left = std::chrono::ceil<milliseconds>(until - std::chrono::steady_clock::now());
        ready = poll(&stream, 1, static_cast<int>(std::max(left, milliseconds(0)).count()));
    } while (ready == -1 && errno == EINTR);
    return ready == 1;
}

}  // namespace

std::size_t WriteError(std::string_view bytes, std::chrono::milliseconds patience) noexcept {
    const auto until = std::chrono::steady_clock::now() + patience;
    std::size_t written = 0;
    while (written < bytes.size() && HasRoom(until)) {
        const std::string_view next = bytes.substr(written, kAtOnce);
        const ssize_t taken = write(STDERR_FILENO, next.data(), next.size());
        if (taken == -1 && errno != EINTR && errno != EAGAIN) {
            break;
        }
        written += taken > 0 ? static_cast<std::size_t>(taken) : 0;
    }
    return written;
}

}  // namespace CQXBASE::platform::console
