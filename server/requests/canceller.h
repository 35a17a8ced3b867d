// Ends work whose clients are gone.
#pragma once

#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

#include <qxdb/Cancellation.h>

namespace CQXSERVER::requests {

/// A thread of its own, since telling a database can take as long as connecting to it. Each
/// cancellation is repeated until nobody else holds it: one that meets the moment between two
/// statements reaches neither.
class Canceller {
  public:
    Canceller();
    ~Canceller();
    Canceller(const Canceller&) = delete;
    Canceller& operator=(const Canceller&) = delete;

    /// From any thread. Throws std::bad_alloc.
    void Add(std::shared_ptr<CQXDB::Cancellation> cancellation);

  private:
    using Cancellations = std::list<std::shared_ptr<CQXDB::Cancellation>>;

    void Work();

    std::mutex mutex_;
    std::condition_variable wake_;
    Cancellations added_;  ///< guarded by mutex_, and so is the next
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace CQXSERVER::requests
