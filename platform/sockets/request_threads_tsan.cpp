// The C library's asynchronous requests, carried out by threads that the thread sanitizer knows of.
// Only in its builds: the C library's own request threads crash in the sanitizer's interceptors,
// and what they do is out of its sight. These functions stand before the C library's for the whole
// process, ACE included.
#include <aio.h>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <mutex>
#include <pthread.h>
#include <thread>
#include <unistd.h>

namespace {

/// Starts a request thread whenever a request would have to wait for one; they stay for the
/// process's life. Requests of one descriptor may run at once.
class RequestThreads {
  public:
    void Start(aiocb& request, bool writes) {
        const std::lock_guard<std::mutex> lock(mutex_);
        request.__error_code = EINPROGRESS;
        waiting_.push_back({&request, writes});
        if (idle_ < waiting_.size()) {
            StartThread();
        }
        work_.notify_one();
    }

    int ErrorOf(const aiocb& request) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return request.__error_code;
    }

    ssize_t ResultOf(const aiocb& request) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return request.__return_value;
    }

    /// False when the time has passed. Without `until` waits for ever.
    bool WaitForAny(const aiocb* const list[], int count,
                    const std::chrono::steady_clock::time_point* until) {
        std::unique_lock<std::mutex> lock(mutex_);
        const auto any = [&] {
            for (int i = 0; i < count; ++i) {
                if (list[i] != nullptr && list[i]->__error_code != EINPROGRESS) {
                    return true;
                }
            }
            return false;
        };
        if (until != nullptr) {
            return done_.wait_until(lock, *until, any);
        }
        done_.wait(lock, any);
        return true;
    }

  private:
    struct Request {
        aiocb* block;
        bool writes;
    };

    /// Signals stay the host's threads' affair, that of writing to a closed peer included.
    void StartThread() {
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        ++idle_;
        std::thread([this] { Serve(); }).detach();
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    [[noreturn]] void Serve() {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            work_.wait(lock, [this] { return !waiting_.empty(); });
            const Request request = waiting_.front();
            waiting_.pop_front();
            --idle_;
            lock.unlock();
            const ssize_t result = CarryOut(request);
            const int error = result == -1 ? errno : 0;
            lock.lock();
            ++idle_;
            request.block->__return_value = result;
            request.block->__error_code = error;
            done_.notify_all();
        }
    }

    /// On a pipe or socket, which have no offset.
    static ssize_t CarryOut(const Request& request) {
        const aiocb& block = *request.block;
        void* const bytes = const_cast<void*>(block.aio_buf);
        return request.writes ? write(block.aio_fildes, bytes, block.aio_nbytes)
                              : read(block.aio_fildes, bytes, block.aio_nbytes);
    }

    std::mutex mutex_;
    std::condition_variable work_;
    std::condition_variable done_;
    std::deque<Request> waiting_;
    std::size_t idle_ = 0;
};

RequestThreads& Threads() {
    static auto* const threads = new RequestThreads;  // they outlive the end of main
    return *threads;
}

}  // namespace

#define QXDB_BEFORE_THE_C_LIBRARY extern "C" __attribute__((visibility("default")))

QXDB_BEFORE_THE_C_LIBRARY int aio_read(aiocb* request) noexcept {
    Threads().Start(*request, false);
    return 0;
}

QXDB_BEFORE_THE_C_LIBRARY int aio_write(aiocb* request) noexcept {
    Threads().Start(*request, true);
    return 0;
}

QXDB_BEFORE_THE_C_LIBRARY int aio_error(const aiocb* request) noexcept {
    return Threads().ErrorOf(*request);
}

QXDB_BEFORE_THE_C_LIBRARY ssize_t aio_return(aiocb* request) noexcept {
    return Threads().ResultOf(*request);
}

/// What has been started can't be taken back.
QXDB_BEFORE_THE_C_LIBRARY int aio_cancel(int /*descriptor*/, aiocb* request) noexcept {
    return request != nullptr && aio_error(request) != EINPROGRESS ? AIO_ALLDONE : AIO_NOTCANCELED;
}

QXDB_BEFORE_THE_C_LIBRARY int aio_suspend(const aiocb* const list[], int count,
                                          const timespec* limit) {
    if (limit == nullptr) {
        Threads().WaitForAny(list, count, nullptr);
        return 0;
    }
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(limit->tv_sec) +
                       std::chrono::nanoseconds(limit->tv_nsec);
    if (Threads().WaitForAny(list, count, &until)) {
        return 0;
    }
    errno = EAGAIN;
    return -1;
}
