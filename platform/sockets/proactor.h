// The proactor on which overlapped reads and writes run.
#pragma once

#include <memory>

#include <ace/Proactor.h>

namespace CQXBASE::platform::sockets {

/// Deletes a proactor with its implementation. No operation may be under way on it.
struct ProactorDeleter {
    void operator()(ACE_Proactor* proactor) const;
};
using ProactorPtr = std::unique_ptr<ACE_Proactor, ProactorDeleter>;

/// A proactor of the platform's usual kind. What ACE has to say about its making or its end doesn't
/// reach the host's log. Throws std::bad_alloc.
ProactorPtr MakeProactor();

/// Waits without limit until a completion has been dispatched on this thread. A signal doesn't end
/// the wait. Returns what ACE_Proactor::handle_events does: 1 dispatched, 0 nothing, -1 an error.
int DispatchCompletion(ACE_Proactor& proactor);

}  // namespace CQXBASE::platform::sockets
