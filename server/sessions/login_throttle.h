// Slows down whoever guesses passwords.
#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <unordered_map>

#include "server/clock.h"

namespace CQXSERVER::sessions {

/// Counts wrong passwords: for each account from each address, for each address whatever the
/// account, and for each account whatever the address. Beyond its free ones, every further attempt
/// has to wait for its turn; turns lie 1 s apart at first, 4 s at most. Attempts made at once queue
/// up, so opening many connections gains nothing. Who has logged in from an address before waits
/// for no stranger's turns, neither for those at the same address nor for those who guess at the
/// same account elsewhere. An IPv6 address counts by its first 64 bits. Thread-safe.
class LoginThrottle {
  public:
    static constexpr unsigned kFreeFailures = 5;  ///< in a row, of an account from an address
    static constexpr unsigned kFreeAddressFailures = 20;
    static constexpr unsigned kFreeAccountFailures = 50;
    /// Below the 5 s of silence after which a client behind a proxy gives up on a reply.
    static constexpr std::chrono::milliseconds kMaxWait{4000};
    /// After this silence the failures of an account from an address are forgotten.
    static constexpr std::chrono::minutes kMemory{15};
    /// One failure of an address or an account is forgotten each time this has passed, and no
    /// success clears them: an attacker may have an account of his own.
    static constexpr std::chrono::minutes kFade{1};
    /// For so long an account is known at an address from which it has logged in.
    static constexpr std::chrono::hours kKnown{30 * 24};

    explicit LoginThrottle(Clock clock);

    struct Turn {
        std::chrono::milliseconds wait;  ///< before the password may be checked
        bool known;                      ///< has logged in from there before
    };
    /// Throws RequestRefused when the attempt's turn is further away than kMaxWait; such an attempt
    /// takes no turn.
    Turn Admit(const std::string& account, const std::string& address);
    void Failed(const std::string& account, const std::string& address);
    void Succeeded(const std::string& account, const std::string& address);

  private:
    /// Of an account at an address.
    struct Pair {
        unsigned failures = 0;
        TimePoint nextTurn;
        TimePoint lastFailure;
        TimePoint knownUntil;  ///< before the first success, the clock's beginning
    };
    /// Of an address, or of an account.
    struct Total {
        unsigned failures = 0;
        TimePoint nextTurn;
        TimePoint faded;  ///< up to when failures have been forgotten
    };
    using Pairs = std::unordered_map<std::string, Pair>;
    using Totals = std::unordered_map<std::string, Total>;

    Pair* Find(const std::string& key, TimePoint now);
    static Total* Find(Totals& totals, const std::string& key, TimePoint now);
    static void Count(Totals& totals, const std::string& key, unsigned freeFailures, TimePoint now);
    void ForgetOld(TimePoint now);

    const Clock clock_;
    std::mutex mutex_;
    // Guarded by mutex_.
    Pairs pairs_;
    Totals addresses_;
    Totals accounts_;
};

}  // namespace CQXSERVER::sessions
