#include <aio.h>
#include <cerrno>
#include <mutex>

#include <ace/Log_Category.h>
#include <ace/POSIX_Proactor.h>

#include "platform/proactor.h"

namespace CQXBASE::platform {
namespace {

/// Keeps what ACE itself reports at debug priority out of the host's log.
class QuietAce {
  public:
    QuietAce() : lock_(Mutex()), mask_(Category().priority_mask()) {
        Category().priority_mask(mask_ & ~static_cast<u_long>(LM_DEBUG));
    }
    ~QuietAce() { Category().priority_mask(mask_); }
    QuietAce(const QuietAce&) = delete;
    QuietAce& operator=(const QuietAce&) = delete;

  private:
    static ACE_Log_Category& Category() { return ACE_Log_Category::ace_lib(); }
    static std::mutex& Mutex() {
        static std::mutex mutex;
        return mutex;
    }

    std::lock_guard<std::mutex> lock_;
    u_long mask_;
};

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

class AiocbProactor : public ACE_POSIX_AIOCB_Proactor {
  public:
    // One operation at a time and the wake-up pipe's read, with some slack.
    AiocbProactor() : ACE_POSIX_AIOCB_Proactor(8) {}

    int close() override {
        delete_notify_manager();
        AwaitWakeUpPipe();
        return ACE_POSIX_AIOCB_Proactor::close();
    }

  private:
    /// ACE never frees a request that is still under way when it looks, and closing the pipe ends
    /// its read only a moment later.
    void AwaitWakeUpPipe() {
        constexpr std::size_t kPipeSlot = 0;
        if (aiocb_list_ == nullptr || aiocb_list_[kPipeSlot] == nullptr) {
            return;
        }
        const aiocb* pending[] = {aiocb_list_[kPipeSlot]};
        while (aio_suspend(pending, 1, nullptr) == -1 && errno == EINTR) {
        }
    }
};

}  // namespace

void ProactorDeleter::operator()(ACE_Proactor* proactor) const {
    const QuietAce quiet;
    delete proactor;
}

ProactorPtr MakeProactor() {
    AllowManyRequestThreads();
    const QuietAce quiet;
    constexpr bool kDeleteImplementation = true;
    auto implementation = std::make_unique<AiocbProactor>();
    ProactorPtr proactor(new ACE_Proactor(implementation.get(), kDeleteImplementation));
    implementation.release();
    return proactor;
}

int DispatchCompletion(ACE_Proactor& proactor) {
    for (;;) {
        errno = 0;
        const int dispatched = proactor.handle_events();
        if (dispatched != 0 || errno != EINTR) {
            return dispatched;
        }
    }
}

}  // namespace CQXBASE::platform
