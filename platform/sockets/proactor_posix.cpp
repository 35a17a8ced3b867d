#include <cerrno>
#include <mutex>

#include <ace/Log_Category.h>

#include "platform/sockets/aiocb_proactor_posix.h"
#include "platform/sockets/proactor.h"

namespace CQXBASE::platform::sockets {
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

}  // namespace

void ProactorDeleter::operator()(ACE_Proactor* proactor) const {
    const QuietAce quiet;
    delete proactor;
}

ProactorPtr MakeProactor() {
    const QuietAce quiet;
    constexpr bool kDeleteImplementation = true;
    auto implementation = std::make_unique<AiocbProactor>();
    ProactorPtr proactor(new ACE_Proactor(implementation.get(), kDeleteImplementation));
    (void)implementation.release();
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

}  // namespace CQXBASE::platform::sockets
