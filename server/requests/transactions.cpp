#include "server/requests/transactions.h"

#include <utility>

#include <qxdb/DBMgrErrors.h>

#include "server/log.h"
#include "server/server_error.h"

namespace CQXSERVER::requests {

class Transactions::Place {
  public:
    Place(Transactions& all, const std::string& account) : all_(all), account_(account) {
        const std::lock_guard<std::mutex> lock(all_.mutex_);
        std::size_t& ofAccount = all_.places_[account_];
        if (ofAccount >= all_.mostOfAccount_ || all_.taken_ >= all_.most_) {
            throw RequestRefused(ServerError::TooManyTransactions);
        }
        ++ofAccount;
        ++all_.taken_;
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
    ~Place() {
        if (!kept_) {
            const std::lock_guard<std::mutex> lock(all_.mutex_);
            Free(all_, account_);
        }
    }
    void Keep() noexcept { kept_ = true; }

    /// With the lock.
    static void Free(Transactions& all, const std::string& account) noexcept {
        const auto place = all.places_.find(account);
        if (--place->second == 0) {
            all.places_.erase(place);
        }
        --all.taken_;
    }

  private:
    Transactions& all_;
    const std::string& account_;
    bool kept_ = false;
};

Transactions::Transactions(const Limits& limits, const sessions::SessionTable& sessions,
                           Clock clock)
    : most_(limits.maxTransactions),
      mostOfAccount_(limits.maxTransactionsOfAccount),
      idle_(limits.transactionIdle),
      sessions_(sessions),
      clock_(std::move(clock)),
      thread_([this] { RollBackEnded(); }) {}

Transactions::~Transactions() {
    EndIf([](const std::wstring&, const Entry&) { return true; });
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

DatabaseAnswer Transactions::Begin(const TransactionOwner& owner, const Caller& caller,
                                   const CQXDB::QXDataSource& dataSource,
                                   const CQXDB::QXTransactionInfo& info, std::wstring& id) {
    Place place(*this, owner.account);
    DatabaseAnswer answer = requests::Begin(caller, dataSource, info, id);
    if (answer.code == 0) {
        try {
            const std::lock_guard<std::mutex> lock(mutex_);
            entries_.emplace(id, Entry{owner, clock_(), false, false});
        } catch (...) {
            requests::Abandon(id);
            throw;
        }
        place.Keep();
    }
    return answer;
}

DatabaseAnswer Transactions::Over() {
    return {CQXDB::DBMGR_TRANSACTION_OVER,
            L"the transaction is over, and this was not run: its connection or session has ended, "
            L"it was unused for too long, or it never was"};
}

Transactions::Use::Use(Transactions& all, const TransactionOwner& owner, const std::wstring& id)
    : all_(all), id_(id) {
    const std::lock_guard<std::mutex> lock(all_.mutex_);
    const auto entry = all_.entries_.find(id);
    found_ = entry != all_.entries_.end() && entry->second.owner == owner && !entry->second.ended &&
             !entry->second.busy;
    if (found_) {
        entry->second.busy = true;
    }
}

Transactions::Use::~Use() {
    if (!found_) {
        return;
    }
    const std::lock_guard<std::mutex> lock(all_.mutex_);
    const auto entry = all_.entries_.find(id_);
    if (ends_) {
        all_.ended_ -= entry->second.ended ? 1 : 0;
        Place::Free(all_, entry->second.owner.account);
        all_.entries_.erase(entry);
        return;
    }
    entry->second.busy = false;
    entry->second.used = all_.clock_();
    if (entry->second.ended) {
        all_.wake_.notify_all();
    }
}

template <class Condition>
void Transactions::EndIf(Condition condition) noexcept {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (auto& [id, entry] : entries_) {
        if (!entry.ended && condition(id, entry)) {
            entry.ended = true;
            ++ended_;
            wake_.notify_all();
        }
    }
}

void Transactions::EndConnection(network::ConnectionId connection) noexcept {
    EndIf([=](const std::wstring&, const Entry& entry) {
        return entry.owner.connection == connection;
    });
}

void Transactions::EndSession(const std::string& token) noexcept {
    EndIf([&](const std::wstring&, const Entry& entry) { return entry.owner.token == token; });
}

void Transactions::End(const std::wstring& id) noexcept {
    EndIf([&](const std::wstring& each, const Entry&) { return each == id; });
}

void Transactions::EndExpired() noexcept {
    const TimePoint now = clock_();
    EndIf([&](const std::wstring&, const Entry& entry) {
        return !entry.busy && (now - entry.used >= idle_ || !sessions_.Knows(entry.owner.token));
    });
}

std::size_t Transactions::Count() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return entries_.size();
}

void Transactions::RollBackEnded() {
    std::unique_lock<std::mutex> lock(mutex_);
    const auto next = [this] {
        auto entry = ended_ == 0 ? entries_.end() : entries_.begin();
        while (entry != entries_.end() && (!entry->second.ended || entry->second.busy)) {
            ++entry;
        }
        return entry;
    };
    for (;;) {
        const auto entry = next();
        if (entry == entries_.end()) {
            if (stopping_) {
                return;
            }
            wake_.wait(lock);
            continue;
        }
        auto ended = entries_.extract(entry);
        --ended_;
        lock.unlock();
        Abandon(ended.key());
        LogInformation("connection ", ended.mapped().owner.connection, ": a transaction of '",
                       ended.mapped().owner.account, "' was rolled back");
        lock.lock();
        Place::Free(*this, ended.mapped().owner.account);
    }
}

}  // namespace CQXSERVER::requests
