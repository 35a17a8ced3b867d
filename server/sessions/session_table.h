// The sessions that logins have opened.
#pragma once

#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "server/clock.h"
#include "server/server_options.h"
#include "server/sessions/account_store.h"

namespace CQXSERVER::sessions {

struct Session {
    std::string token;  ///< 128 random bits as lower-case hexadecimal digits
    std::string account;
    std::int64_t accountRevision = 0;  ///< the account's at the login
    std::string database;              ///< chosen at the login; "" for the usual one
    TimePoint opened;
    TimePoint used;
};

/// Thread-safe. A session outlives its connection: a client that connects again goes on with its
/// token. It ends by End, by Require finding it expired or its account changed, or when a full
/// table needs its place.
class SessionTable {
  public:
    SessionTable(const Limits& limits, Clock clock);

    /// Opens a session and returns its token. A full table gives up its expired sessions; else the
    /// account with the most sessions loses the one that was unused the longest, or, when others
    /// have no more than it, the same account. With none of these, RequestRefused.
    std::string Open(const Account& account, const std::string& database);

    /// The session of `token`, its idle time starting anew. Throws RequestRefused, for an empty, an
    /// unknown and an expired token each with its own error.
    Session Require(const std::string& token);

    /// Ends the session, whose next request is refused with UnknownToken. An unknown token is
    /// nothing.
    void End(const std::string& token);

    /// The session of `token`, which stays as idle as it was.
    std::optional<Session> Peek(const std::string& token) const;

    /// The account of a session; "" when there is none of that token.
    std::string AccountOf(const std::string& token) const;

    /// False once the session has ended, by its time too.
    bool Knows(const std::string& token) const noexcept;

    std::size_t Count() const;

  private:
    using Sessions = std::list<Session>;

    bool Expired(const Session& session, TimePoint now) const;
    void Drop(Sessions::iterator session);
    void MakeRoom(const std::string& account, TimePoint now);

    const Limits limits_;
    const Clock clock_;
    mutable std::mutex mutex_;
    Sessions sessions_;  ///< guarded by mutex_, as below; the longest unused first
    std::unordered_map<std::string, Sessions::iterator> byToken_;
};

}  // namespace CQXSERVER::sessions
