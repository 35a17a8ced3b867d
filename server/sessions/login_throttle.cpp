#include "server/sessions/login_throttle.h"

#include <algorithm>
#include <utility>

#include "server/server_error.h"

namespace CQXSERVER::sessions {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t kTidyAbove = 10000;  ///< records; a table this small is not worth the walk

/// An address has no line break, so the two kinds of key never meet.
std::string PairKey(const std::string& account, const std::string& address) {
    return address + '\n' + account;
}

milliseconds Spacing(unsigned failures, unsigned freeFailures) {
    if (failures < freeFailures) {
        return milliseconds(0);
    }
    const unsigned doublings = std::min(failures - freeFailures, 2U);
    return std::min(milliseconds(1000U << doublings), LoginThrottle::kMaxWait);
}

}  // namespace

LoginThrottle::LoginThrottle(Clock clock) : clock_(std::move(clock)) {}

milliseconds LoginThrottle::Admit(const std::string& account, const std::string& address) {
    const TimePoint now = clock_();
    const std::lock_guard<std::mutex> lock(mutex_);
    Record* const records[] = {Find(PairKey(account, address), now), Find(address, now)};
    const milliseconds spacings[] = {
        records[0] != nullptr ? Spacing(records[0]->failures, kFreeFailures) : milliseconds(0),
        records[1] != nullptr ? Spacing(records[1]->failures, kFreeAddressFailures)
                              : milliseconds(0)};
    TimePoint turn = now;
    for (int i = 0; i < 2; ++i) {
        if (spacings[i] > milliseconds(0)) {
            turn = std::max(turn, std::max(records[i]->nextTurn, now) + spacings[i]);
        }
    }
    if (turn - now > kMaxWait) {
        throw RequestRefused(ServerError::TooManyFailures);
    }
    for (int i = 0; i < 2; ++i) {
        if (spacings[i] > milliseconds(0)) {
            records[i]->nextTurn = turn;
        }
    }
    return std::chrono::duration_cast<milliseconds>(turn - now);
}

void LoginThrottle::Failed(const std::string& account, const std::string& address) {
    const TimePoint now = clock_();
    const std::lock_guard<std::mutex> lock(mutex_);
    ForgetOld(now);
    Count(PairKey(account, address), now);
    Count(address, now);
}

void LoginThrottle::Succeeded(const std::string& account, const std::string& address) {
    const std::lock_guard<std::mutex> lock(mutex_);
    records_.erase(PairKey(account, address));
    records_.erase(address);
}

LoginThrottle::Record* LoginThrottle::Find(const std::string& key, TimePoint now) {
    const auto found = records_.find(key);
    if (found == records_.end()) {
        return nullptr;
    }
    if (now - found->second.lastFailure > kMemory) {
        records_.erase(found);
        return nullptr;
    }
    return &found->second;
}

void LoginThrottle::Count(const std::string& key, TimePoint now) {
    Record* const old = Find(key, now);
    Record& record = old != nullptr ? *old : records_[key];
    ++record.failures;
    record.lastFailure = now;
}

void LoginThrottle::ForgetOld(TimePoint now) {
    if (records_.size() < kTidyAbove) {
        return;
    }
    for (auto each = records_.begin(); each != records_.end();) {
        each = now - each->second.lastFailure > kMemory ? records_.erase(each) : std::next(each);
    }
}

}  // namespace CQXSERVER::sessions
