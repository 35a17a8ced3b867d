// What both halves of the overlapped exchange share: the proactor, its event loop, its handlers'
// errors.
#include <ace/OS_NS_sys_socket.h>

#include "errors/caught_exception.h"
#include "transport/qxio.h"
#include "util/text.h"

namespace CQXBASE {

void QXIO::ensure_proactor() {
    if (proactor_ == nullptr) {
        proactor_ = platform::sockets::MakeProactor();
    }
}

void QXIO::run_completions(bool (QXIO::*over)() const) {
    int dispatched = 1;
    // With nothing under way no completion can come, and waiting for one would never end.
    while (dispatched >= 1 && !(this->*over)() && pending_ > 0) {
        dispatched = platform::sockets::DispatchCompletion(*proactor_);
    }
}

void QXIO::abandon_pending() noexcept {
    if (pending_ == 0) {
        return;
    }
    // The operation's memory is about to go, and cancelling doesn't end what the system has begun.
    // On a wrapped stream, which is not ours to end, that is waited for.
    if (peer_ != nullptr && ownsStream_) {
        ACE_OS::shutdown(peer_->get_handle(), ACE_SHUTDOWN_BOTH);
    }
    if (writer_) {
        writer_->cancel();
    }
    if (reader_) {
        reader_->cancel();
    }
    while (pending_ > 0 && platform::sockets::DispatchCompletion(*proactor_) >= 1) {
    }
}

int QXIO::log_handler_error(const CaughtException& caught) {
    const ACE_TCHAR* format =
        caught.kind == CaughtKind::QxException    ? ACE_TEXT("%D: error34, %C \n")
        : caught.kind == CaughtKind::StdException ? ACE_TEXT("%D: error35, %C \n")
                                                  : ACE_TEXT("%D: error36, %C \n");
    LogLine(LM_ERROR, __LINE__, -1, 0, format, ToNarrow(caught.text(), kCodePageAnsi).c_str());
    return -1;
}

}  // namespace CQXBASE
