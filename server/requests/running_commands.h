// Which commands run for which session, so that another connection of its user can end them.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include <qxdb/Cancellation.h>

#include "server/requests/canceller.h"

namespace CQXSERVER::requests {

/// Thread-safe.
class RunningCommands {
  public:
    using Token = std::string;
    using Commands = std::multimap<Token, std::shared_ptr<CQXDB::Cancellation>>;

    /// `canceller` is borrowed.
    explicit RunningCommands(Canceller& canceller) noexcept : canceller_(canceller) {}

    /// One command, for as long as it runs.
    class Entry {
      public:
        Entry(RunningCommands& all, const Token& token,
              std::shared_ptr<CQXDB::Cancellation> cancellation);
        ~Entry();
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;

      private:
        RunningCommands& all_;
        Commands::iterator place_;
    };

    /// Has the session's commands cancelled that run now, and says how many those are.
    std::size_t Cancel(const Token& token);

  private:
    Canceller& canceller_;
    std::mutex mutex_;
    Commands commands_;  ///< guarded by mutex_
};

}  // namespace CQXSERVER::requests
