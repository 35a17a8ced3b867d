// Slows down whoever guesses passwords.
#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <unordered_map>

#include "server/clock.h"

namespace CQXSERVER::sessions {

/// Counts wrong passwords in a row, for each account from each address, and for each address
/// whatever the account. From kFreeFailures on (kFreeAddressFailures for an address), every further
/// attempt has to wait for its turn; turns lie 1 s apart at first, 4 s at most. Attempts made at
/// once queue up, so opening many connections gains nothing. Thread-safe.
class LoginThrottle {
  public:
    static constexpr unsigned kFreeFailures = 5;
    static constexpr unsigned kFreeAddressFailures = 20;
    /// Below the 5 s of silence after which a client behind a proxy gives up on a reply.
    static constexpr std::chrono::milliseconds kMaxWait{4000};
    static constexpr std::chrono::minutes kMemory{
        15};  ///< failures are forgotten after this silence

    explicit LoginThrottle(Clock clock);

    /// How long this attempt has to wait before its password may be checked. Throws RequestRefused
    /// when its turn is further away than kMaxWait; such an attempt takes no turn.
    std::chrono::milliseconds Admit(const std::string& account, const std::string& address);
    void Failed(const std::string& account, const std::string& address);
    void Succeeded(const std::string& account, const std::string& address);

  private:
    struct Record {
        unsigned failures = 0;
        TimePoint nextTurn;
        TimePoint lastFailure;
    };

    Record* Find(const std::string& key, TimePoint now);
    void Count(const std::string& key, TimePoint now);
    void ForgetOld(TimePoint now);

    const Clock clock_;
    std::mutex mutex_;
    std::unordered_map<std::string, Record> records_;  ///< guarded by mutex_
};

}  // namespace CQXSERVER::sessions
