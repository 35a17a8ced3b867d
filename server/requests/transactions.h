// Transactions that clients have begun and not ended yet.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <qxdb/QXDataSource.h>
#include <qxdb/QXTransaction.h>

#include "server/clock.h"
#include "server/network/request.h"
#include "server/requests/database_work.h"
#include "server/server_options.h"
#include "server/sessions/session_table.h"

namespace CQXSERVER::requests {

/// Whose a transaction is: of one session, over one connection. Another connection may be that of a
/// client which doesn't know what became of the first one's last command.
struct TransactionOwner {
    std::string token;
    std::string account;
    network::ConnectionId connection = 0;

    bool operator==(const TransactionOwner& other) const {
        return token == other.token && account == other.account && connection == other.connection;
    }
};

/// Thread-safe. Those that end without their client are rolled back on a thread of its own, since
/// that may take long.
class Transactions {
  public:
    Transactions(const Limits& limits, const sessions::SessionTable& sessions, Clock clock);
    /// Rolls back what is left.
    ~Transactions();
    Transactions(const Transactions&) = delete;
    Transactions& operator=(const Transactions&) = delete;

    /// By the workers. `id` is the new transaction's. Throws RequestRefused when there are too
    /// many.
    DatabaseAnswer Begin(const TransactionOwner& owner, const Caller& caller,
                         const CQXDB::QXDataSource& dataSource,
                         const CQXDB::QXTransactionInfo& info, std::wstring& id);

    /// One command of a transaction, for as long as it runs.
    class Use {
      public:
        Use(Transactions& all, const TransactionOwner& owner, const std::wstring& id);
        ~Use();
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

        /// False when the owner has no such transaction, or its last command is still running.
        explicit operator bool() const noexcept { return found_; }
        /// The transaction ends with this command.
        void End() noexcept { ends_ = true; }

      private:
        Transactions& all_;
        const std::wstring& id_;
        bool found_ = false;
        bool ends_ = false;
    };
    /// What a command is answered without such a use.
    static DatabaseAnswer Over();

    // By the event loop; none of them waits for a database.
    void EndConnection(network::ConnectionId connection) noexcept;
    void EndSession(const std::string& token) noexcept;
    void End(const std::wstring& id) noexcept;
    /// Ends those that nobody has used for too long, or whose session has ended.
    void EndExpired() noexcept;
    std::size_t Count() const;

  private:
    struct Entry {
        TransactionOwner owner;
        TimePoint used;
        bool busy = false;
        bool ended = false;  ///< to be rolled back once it isn't busy
    };
    using Entries = std::map<std::wstring, Entry>;

    /// A place within the limits for one that is being begun.
    class Place;
    template <class Condition>
    void EndIf(Condition condition) noexcept;
    void RollBackEnded();

    const std::size_t most_;
    const std::size_t mostOfAccount_;
    const std::chrono::milliseconds idle_;
    const sessions::SessionTable& sessions_;
    const Clock clock_;
    mutable std::mutex mutex_;
    std::condition_variable wake_;
    // Guarded by mutex_:
    Entries entries_;
    std::map<std::string, std::size_t> places_;  ///< taken, by account
    std::size_t taken_ = 0;
    std::size_t ended_ = 0;  ///< entries that are to be rolled back
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace CQXSERVER::requests
