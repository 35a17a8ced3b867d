#include "server/sessions/login_throttle.h"

#include <algorithm>
#include <array>
#include <utility>

#include <ace/OS_NS_arpa_inet.h>
#include <ace/os_include/sys/os_socket.h>

#include "server/server_error.h"

namespace CQXSERVER::sessions {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t kTidyAbove = 10000;  ///< records; a table this small is not worth the walk
/// Failures beyond the free ones are counted up to here, so that an address is free again so many
/// times kFade after an attack.
constexpr unsigned kMostCounted = 15;

/// A host has as many IPv6 addresses as it likes within its network.
std::string NetworkOf(const std::string& address) {
    constexpr std::size_t kNetworkBytes = 8;
    std::array<char, 16> bytes{};
    if (address.find('.') != std::string::npos ||
        ACE_OS::inet_pton(AF_INET6, address.c_str(), bytes.data()) != 1) {
        return address;
    }
    return std::string(bytes.data(), kNetworkBytes);
}

/// A network has no line break at its end, and an account's name has none at all.
std::string PairKey(const std::string& account, const std::string& network) {
    return account + '\n' + network;
}

milliseconds Spacing(unsigned failures, unsigned freeFailures) {
    if (failures < freeFailures) {
        return milliseconds(0);
    }
    const unsigned doublings = std::min(failures - freeFailures, 2U);
    return std::min(milliseconds(1000U << doublings), LoginThrottle::kMaxWait);
}

/// The turns that an attempt waits for.
class Turns {
  public:
    explicit Turns(TimePoint now) : now_(now), turn_(now) {}

    template <class Record>
    void Add(Record* record, unsigned freeFailures) {
        const milliseconds spacing =
            record != nullptr ? Spacing(record->failures, freeFailures) : milliseconds(0);
        if (spacing > milliseconds(0)) {
            turn_ = std::max(turn_, std::max(record->nextTurn, now_) + spacing);
            taken_[count_++] = &record->nextTurn;
        }
    }
    /// How long until then. Throws RequestRefused when that is too long.
    milliseconds Take() {
        if (turn_ - now_ > LoginThrottle::kMaxWait) {
            throw RequestRefused(ServerError::TooManyFailures);
        }
        std::for_each_n(taken_.begin(), count_, [this](TimePoint* each) { *each = turn_; });
        return std::chrono::duration_cast<milliseconds>(turn_ - now_);
    }

  private:
    const TimePoint now_;
    TimePoint turn_;
    std::array<TimePoint*, 3> taken_{};
    std::size_t count_ = 0;
};

}  // namespace

LoginThrottle::LoginThrottle(Clock clock) : clock_(std::move(clock)) {}

LoginThrottle::Turn LoginThrottle::Admit(const std::string& account, const std::string& address) {
    const TimePoint now = clock_();
    const std::string network = NetworkOf(address);
    const std::lock_guard<std::mutex> lock(mutex_);
    Pair* const pair = Find(PairKey(account, network), now);
    const bool known = pair != nullptr && now < pair->knownUntil;
    Turns turns(now);
    turns.Add(pair, kFreeFailures);
    if (!known) {
        turns.Add(Find(addresses_, network, now), kFreeAddressFailures);
        turns.Add(Find(accounts_, account, now), kFreeAccountFailures);
    }
    return {turns.Take(), known};
}

void LoginThrottle::Failed(const std::string& account, const std::string& address) {
    const TimePoint now = clock_();
    const std::string network = NetworkOf(address);
    const std::lock_guard<std::mutex> lock(mutex_);
    ForgetOld(now);
    const std::string key = PairKey(account, network);
    Pair* const old = Find(key, now);
    Pair& pair = old != nullptr ? *old : pairs_[key];
    ++pair.failures;
    pair.lastFailure = now;
    Count(addresses_, network, kFreeAddressFailures, now);
    Count(accounts_, account, kFreeAccountFailures, now);
}

void LoginThrottle::Succeeded(const std::string& account, const std::string& address) {
    const TimePoint now = clock_();
    const std::string network = NetworkOf(address);
    const std::lock_guard<std::mutex> lock(mutex_);
    ForgetOld(now);
    pairs_[PairKey(account, network)] = {0, now, now, now + kKnown};
}

LoginThrottle::Pair* LoginThrottle::Find(const std::string& key, TimePoint now) {
    const auto found = pairs_.find(key);
    if (found == pairs_.end()) {
        return nullptr;
    }
    if (now - found->second.lastFailure > kMemory) {
        found->second.failures = 0;
    }
    return &found->second;
}

LoginThrottle::Total* LoginThrottle::Find(Totals& totals, const std::string& key, TimePoint now) {
    const auto found = totals.find(key);
    if (found == totals.end()) {
        return nullptr;
    }
    Total& total = found->second;
    const auto fades = static_cast<std::uint64_t>((now - total.faded) / kFade);
    total.failures -= static_cast<unsigned>(std::min<std::uint64_t>(fades, total.failures));
    total.faded += fades * kFade;
    return &total;
}

void LoginThrottle::Count(Totals& totals, const std::string& key, unsigned freeFailures,
                          TimePoint now) {
    Total* total = Find(totals, key, now);
    if (total == nullptr) {
        total = &totals[key];
        total->faded = now;
    }
    total->failures = std::min(total->failures + 1, freeFailures + kMostCounted);
}

void LoginThrottle::ForgetOld(TimePoint now) {
    if (pairs_.size() + addresses_.size() + accounts_.size() < kTidyAbove) {
        return;
    }
    for (auto each = pairs_.begin(); each != pairs_.end();) {
        const bool old = now - each->second.lastFailure > kMemory && now >= each->second.knownUntil;
        each = old ? pairs_.erase(each) : std::next(each);
    }
    for (Totals* const totals : {&addresses_, &accounts_}) {
        for (auto each = totals->begin(); each != totals->end();) {
            const bool old = Find(*totals, each->first, now)->failures == 0;
            each = old ? totals->erase(each) : std::next(each);
        }
    }
}

}  // namespace CQXSERVER::sessions
