// ACE's proactor over POSIX asynchronous requests, made to leave nothing behind.
#pragma once

#include <ace/POSIX_Proactor.h>

namespace CQXBASE::platform::sockets {

class AiocbProactor : public ACE_POSIX_AIOCB_Proactor {
  public:
    AiocbProactor();

    /// All requests must have completed; that for wake-ups is ended here.
    int close() override;

  private:
    void EndWakeUpRead();
};

}  // namespace CQXBASE::platform::sockets
