#include <ace/WIN32_Proactor.h>

#include "platform/sockets/proactor.h"

namespace CQXBASE::platform::sockets {

void ProactorDeleter::operator()(ACE_Proactor* proactor) const {
    delete proactor;
}

ProactorPtr MakeProactor() {
    constexpr std::size_t kAnyNumberOfThreads = 0;
    constexpr bool kUsedWithReactor = false;
    constexpr bool kDeleteImplementation = true;
    auto implementation =
        std::make_unique<ACE_WIN32_Proactor>(kAnyNumberOfThreads, kUsedWithReactor);
    ProactorPtr proactor(new ACE_Proactor(implementation.get(), kDeleteImplementation));
    implementation.release();
    return proactor;
}

int DispatchCompletion(ACE_Proactor& proactor) {
    return proactor.handle_events();
}

}  // namespace CQXBASE::platform::sockets
