#include "platform/sockets/aiocb_proactor_posix.h"

#include <aio.h>
#include <cerrno>
#include <cstddef>
#include <mutex>

namespace CQXBASE::platform::sockets {
namespace {

/// Every proactor keeps one of the C library's request threads waiting on its wake-up pipe. With
/// the usual limit of 20 threads, the 20th proactor would stop all requests of the process. Threads
/// are only started when needed. Without effect once the host itself has made a request.
void AllowManyRequestThreads() {
    static std::once_flag once;
    std::call_once(once, [] {
        aioinit limits{};
        limits.aio_threads = 1024;
        limits.aio_num = 64;
        limits.aio_idle_time = 1;
        aio_init(&limits);
    });
}

/// One operation at a time and the wake-up pipe's read, with some slack. Called before any request.
std::size_t RequestsAtOnce() {
    AllowManyRequestThreads();
    return 8;
}

}  // namespace

AiocbProactor::AiocbProactor() : ACE_POSIX_AIOCB_Proactor(RequestsAtOnce()) {}

int AiocbProactor::close() {
    if (aiocb_notify_pipe_manager_ != nullptr) {
        EndWakeUpRead();
    }
    return ACE_POSIX_AIOCB_Proactor::close();
}

void AiocbProactor::EndWakeUpRead() {
    // ACE just closes the pipe. A request thread that hasn't come to read yet would then read from
    // whatever has got the pipe's number, and the request would never be freed.
    constexpr std::size_t kPipeSlot = 0;
    notify_completion(0);
    const aiocb* reading[] = {aiocb_list_[kPipeSlot]};
    while (aio_suspend(reading, 1, nullptr) == -1 && errno == EINTR) {
    }
}

}  // namespace CQXBASE::platform::sockets
