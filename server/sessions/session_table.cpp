#include "server/sessions/session_table.h"

#include <algorithm>
#include <array>
#include <utility>

#include <Poco/DigestEngine.h>
#include <openssl/rand.h>

#include "server/server_error.h"

namespace CQXSERVER::sessions {
namespace {

constexpr std::size_t kTokenBytes = 16;

std::string NewToken() {
    Poco::DigestEngine::Digest bits(kTokenBytes);
    if (RAND_bytes(bits.data(), static_cast<int>(bits.size())) != 1) {
        throw RequestRefused(ServerError::Internal);
    }
    return Poco::DigestEngine::digestToHex(bits);
}

}  // namespace

SessionTable::SessionTable(const Limits& limits, Clock clock)
    : limits_(limits), clock_(std::move(clock)) {}

std::string SessionTable::Open(const Account& account, const std::string& database) {
    const TimePoint now = clock_();
    Session session{NewToken(), account.name, account.revision, database, now, now};
    const std::lock_guard<std::mutex> lock(mutex_);
    if (sessions_.size() >= limits_.maxSessions) {
        MakeRoom(account.name, now);
    }
    sessions_.push_back(session);
    byToken_[session.token] = std::prev(sessions_.end());
    return session.token;
}

Session SessionTable::Require(const std::string& token) {
    if (token.empty()) {
        throw RequestRefused(ServerError::NotLoggedIn);
    }
    const TimePoint now = clock_();
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = byToken_.find(token);
    if (found == byToken_.end()) {
        throw RequestRefused(ServerError::UnknownToken);
    }
    const Sessions::iterator session = found->second;
    if (Expired(*session, now)) {
        Drop(session);
        throw RequestRefused(ServerError::SessionExpired);
    }
    session->used = now;
    sessions_.splice(sessions_.end(), sessions_, session);
    return *session;
}

void SessionTable::End(const std::string& token) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = byToken_.find(token);
    if (found != byToken_.end()) {
        Drop(found->second);
    }
}

std::optional<Session> SessionTable::Peek(const std::string& token) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = byToken_.find(token);
    return found == byToken_.end() ? std::nullopt : std::optional<Session>(*found->second);
}

std::string SessionTable::AccountOf(const std::string& token) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = byToken_.find(token);
    return found == byToken_.end() ? std::string() : found->second->account;
}

bool SessionTable::Knows(const std::string& token) const noexcept {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = byToken_.find(token);
    return found != byToken_.end() && !Expired(*found->second, clock_());
}

std::size_t SessionTable::Count() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return sessions_.size();
}

bool SessionTable::Expired(const Session& session, TimePoint now) const {
    return now - session.used > limits_.sessionIdle ||
           now - session.opened > limits_.sessionLifetime;
}

void SessionTable::Drop(Sessions::iterator session) {
    byToken_.erase(session->token);
    sessions_.erase(session);
}

void SessionTable::MakeRoom(const std::string& account, TimePoint now) {
    for (auto each = sessions_.begin(); each != sessions_.end();) {
        const auto next = std::next(each);
        if (Expired(*each, now)) {
            Drop(each);
        }
        each = next;
    }
    if (sessions_.size() < limits_.maxSessions) {
        return;
    }
    std::unordered_map<std::string, std::size_t> counts;
    for (const Session& each : sessions_) {
        ++counts[each.account];
    }
    const std::size_t own = counts[account];
    const auto most = std::max_element(
        counts.begin(), counts.end(),
        [](const auto& one, const auto& other) { return one.second < other.second; });
    if (own == 0 && most->second == 1) {
        throw RequestRefused(ServerError::TooManySessions);
    }
    const std::string& loser = most->second > own ? most->first : account;
    Drop(std::find_if(sessions_.begin(), sessions_.end(),
                      [&loser](const Session& each) { return each.account == loser; }));
}

}  // namespace CQXSERVER::sessions
