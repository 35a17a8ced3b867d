#include <algorithm>
#include <chrono>
#include <new>
#include <optional>
#include <utility>

#include "server/log.h"
#include "server/operation/server.h"

namespace CQXSERVER::operation {
namespace {

constexpr std::size_t kRejectedAtOnce = 64;  ///< connections beyond these are closed without a word
/// A peer that moves no byte for so long makes room for others, when they need its buffers.
constexpr std::chrono::seconds kStalled{2};

}  // namespace

void Server::Accept(const ACE_SOCK_Stream& peer, const std::string& address) {
    const network::ConnectionId id = ++lastId_;
    const bool full = connections_.size() >= options_.limits.maxConnections &&
                      !DisplaceNewcomer() && !DisplaceIdleUser();
    network::ConnectionHost& host = *this;
    std::unique_ptr<network::Connection> connection;
    try {
        // So that Retire can't fail.
        retired_.reserve(retired_.size() + connections_.size() + rejected_.size() + 1);
        connection = std::make_unique<network::Connection>(id, peer, address, host);
    } catch (const std::bad_alloc&) {
        ACE_SOCK_Stream(peer).close();
        throw;
    }
    network::Connection& opened = *connection;
    ++stats_.accepted;
    stats_.refused += full ? 1 : 0;
    if (full && rejected_.size() >= kRejectedAtOnce) {
        return;
    }
    LogDebug("connection ", id, ": from ", address, full ? ", one too many" : "");
    Enlist(std::move(connection), full);
    if (opened.Open(loop_.Reactor()) && full) {
        opened.Reject(ServerError::TooManyConnections);
    }
    stats_.open = connections_.size();
}

void Server::Enlist(std::unique_ptr<network::Connection> connection, bool full) {
    const network::ConnectionId id = connection->Id();
    if (full) {
        rejected_.emplace(id, std::move(connection));
        return;
    }
    const std::string address = connection->Address();
    newcomers_[address].insert(id);
    try {
        connections_.emplace(id, std::move(connection));
    } catch (...) {
        Remove(newcomers_, address, id);
        throw;
    }
}

void Server::Remove(Groups& groups, const std::string& name, network::ConnectionId id) noexcept {
    const auto group = groups.find(name);
    if (group != groups.end() && group->second.erase(id) != 0 && group->second.empty()) {
        groups.erase(group);
    }
}

/// Keeps the groups by what the connection's next token stands for.
void Server::NoteAccount(network::Connection& connection, const std::string& token) noexcept {
    if (token == connection.Token()) {
        return;
    }
    const network::ConnectionId id = connection.Id();
    try {
        std::string account = services_.sessions.AccountOf(token);
        Groups& groups = account.empty() ? newcomers_ : users_;
        groups[account.empty() ? connection.Address() : account].insert(id);
        const std::string before = connection.Account();
        if (before != account) {
            before.empty() ? Remove(newcomers_, connection.Address(), id)
                           : Remove(users_, before, id);
        }
        connection.SetAccount(std::move(account));
    } catch (const std::bad_alloc&) {
        LogError("connection ", id, ": out of memory");
    }
}

Server::Groups::const_iterator Server::Largest(const Groups& groups) noexcept {
    return std::max_element(groups.begin(), groups.end(), [](const auto& one, const auto& other) {
        return one.second.size() < other.second.size();
    });
}

/// Makes room by closing a connection that has neither logged in nor asked for anything now, so
/// that a crowd of strangers does not keep users out: the oldest one of the address that has most
/// of them. False when there is none.
bool Server::DisplaceNewcomer() {
    const auto waits = [this](network::ConnectionId id) { return connections_.at(id)->Waits(); };
    const auto crowd = Largest(newcomers_);
    if (crowd == newcomers_.end()) {
        return false;
    }
    auto found = std::find_if(crowd->second.begin(), crowd->second.end(), waits);
    for (auto each = newcomers_.begin(); found == crowd->second.end(); ++each) {
        if (each == newcomers_.end()) {
            return false;
        }
        const auto other = std::find_if(each->second.begin(), each->second.end(), waits);
        found = other != each->second.end() ? other : found;
    }
    ++stats_.displaced;
    connections_.at(*found)->Close();
    return true;
}

/// Makes room at the cost of an account that has more than half of all connections, when one of
/// them has been idle for long: a session outlives its connection.
bool Server::DisplaceIdleUser() {
    const auto hog = Largest(users_);
    if (hog == users_.end() || hog->second.size() <= options_.limits.maxConnections / 2) {
        return false;
    }
    const TimePoint latest = Now() - options_.limits.loginTimeout;
    for (const network::ConnectionId id : hog->second) {
        network::Connection& connection = *connections_.at(id);
        const std::optional<TimePoint> idle = connection.IdleSince();
        if (idle && *idle <= latest) {
            ++stats_.displaced;
            connection.Close();
            return true;
        }
    }
    return false;
}

bool Server::FreeBuffers(const network::Connection& asking) {
    const std::optional<network::Connection::Held> wanted = asking.HoldsBuffers();
    return wanted && FreeBuffers(*wanted->budget, &asking);
}

/// Closes the connection that has kept buffers the longest without moving a byte of them; among
/// users that has to be for a while.
bool Server::FreeBuffers(const ByteBudget& budget, const network::Connection* besides) {
    TimePoint latest = &budget == &strangersBuffers_ ? TimePoint::max() : Now() - kStalled;
    network::Connection* stalled = nullptr;
    for (const auto& [id, connection] : connections_) {
        const std::optional<network::Connection::Held> held = connection->HoldsBuffers();
        if (connection.get() != besides && held && held->bytes > 0 && held->budget == &budget &&
            held->since < latest) {
            latest = held->since;
            stalled = connection.get();
        }
    }
    if (stalled == nullptr) {
        return false;
    }
    ++stats_.stalled;
    LogDebug("connection ", stalled->Id(), ": closed to make room for others");
    stalled->Close();
    return true;
}

/// Workers need buffers too, and can't wait for them.
void Server::KeepBuffersFree() {
    if (services_.buffers.WasShort()) {
        FreeBuffers(services_.buffers, nullptr);
    }
    while (services_.buffers.Left() < options_.limits.maxBufferedBytes / 4 &&
           FreeBuffers(services_.buffers, nullptr)) {
    }
}

void Server::Retire(network::ConnectionId id) {
    const auto work = working_.find(id);
    if (work != working_.end()) {
        Abandon(work->second);
    }
    services_.transactions.EndConnection(id);
    for (Connections* const each : {&connections_, &rejected_}) {
        const auto found = each->find(id);
        if (found != each->end()) {
            LogDebug("connection ", id, ": closed");
            const network::Connection& connection = *found->second;
            Remove(newcomers_, connection.Address(), id);
            Remove(users_, connection.Account(), id);
            retired_.push_back(std::move(found->second));
            each->erase(found);
        }
    }
    stats_.open = connections_.size();
}

std::vector<network::Connection*> Server::AllConnections() const {
    std::vector<network::Connection*> all;
    for (const Connections* const table : {&connections_, &rejected_}) {
        for (const auto& [id, connection] : *table) {
            all.push_back(connection.get());
        }
    }
    return all;
}

}  // namespace CQXSERVER::operation
