// The application server.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "server/clock.h"
#include "server/network/connection.h"
#include "server/network/event_loop.h"
#include "server/network/handshake_queue.h"
#include "server/network/listener.h"
#include "server/operation/server_stats.h"
#include "server/operation/services.h"
#include "server/requests/worker_pool.h"
#include "server/server_options.h"

namespace CQXSERVER::operation {

/// One thread moves bytes for all connections; workers do everything that takes time.
class Server : private network::ConnectionHost {
  public:
    /// Listens when it returns. Throws OperatorError. `clock` serves all time limits but the waits
    /// themselves.
    explicit Server(ServerOptions options, Clock clock = SteadyNow);
    ~Server() override;
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::uint16_t Port() const noexcept { return port_; }

    /// Serves until Stop was called and what was under way is done, or the grace time is over.
    /// Returns the number of requests that were then still running; the destructor waits for them.
    std::size_t Run();

    // From any thread, before and during Run.
    /// Refuses new connections and closes the idle ones; running requests are answered.
    void Stop();
    void LogStatistics() const;
    /// Reads certificates and keys again, for the connections made from now on; keeps those it has,
    /// and tells the log, when the files can't be used.
    void ReloadTls();
    const ServerStats& Stats() const noexcept { return stats_; }
    std::size_t Sessions() const { return services_.sessions.Count(); }
    sessions::AccountStore& Accounts() noexcept { return services_.accounts; }

  private:
    /// A request that a worker has, and the task that brings its outcome to the loop: made before
    /// the work, so that what was done can be told when there is no memory left.
    struct UnderWay {
        network::Request request;
        network::Outcome outcome;
        network::EventLoop::Tasks delivery;
        requests::WorkerPool* pool = nullptr;  ///< where it was handed to last
        requests::WorkerPool::Ticket ticket;
        bool gone = false;  ///< the client is, so that nobody awaits the outcome
    };
    using Place = std::list<UnderWay>::iterator;
    using Connections =
        std::unordered_map<network::ConnectionId, std::unique_ptr<network::Connection>>;
    using Groups = std::map<std::string, std::set<network::ConnectionId>>;

    void Submit(network::Request request) override;
    void Retire(network::ConnectionId id) override;
    network::ReplyFrame ErrorReply(ServerError error, bool enciphered) const override;
    TimePoint Now() const override { return clock_(); }
    const Limits& GetLimits() const override { return options_.limits; }
    ByteBudget& Buffers() override { return services_.buffers; }
    ByteBudget& StrangersBuffers() override { return strangersBuffers_; }
    ServerError Admit(const network::FrameReader& frame, const std::string& token) override;
    bool FreeBuffers(const network::Connection& asking) override;
    std::string& Scratch() override { return scratch_; }
    bool Stopping() const override { return stopping_; }
    network::ReplyBody::Wake Waker(network::ConnectionId id) override;
    const CQXBASE::tls::Context& Tls() const override { return tls_; }
    bool RequiresTls() const override { return options_.tls.required; }
    void AwaitHandshake(const network::Connection& connection) override;
    void NoteFailedHandshake() override { ++stats_.failedHandshakes; }
    void GoOnWithHandshakes();

    void Accept(const ACE_SOCK_Stream& peer, const std::string& address);
    void Enlist(std::unique_ptr<network::Connection> connection, bool full);
    static void Remove(Groups& groups, const std::string& name, network::ConnectionId id) noexcept;
    static Groups::const_iterator Largest(const Groups& groups) noexcept;
    void NoteAccount(network::Connection& connection, const std::string& token) noexcept;
    void Hand(Place work, const network::Lane& lane);
    requests::WorkerPool& PoolOf(network::Crew crew) noexcept;
    network::Lane FirstLane(const network::Request& request) const;
    void Complete(Place work);
    bool GoOn(Place work);
    void Abandon(Place work) noexcept;
    void Tick();
    void BeginStop();
    bool Finished() const;
    std::vector<network::Connection*> AllConnections() const;
    bool FreeBuffers(const ByteBudget& budget, const network::Connection* besides);
    void KeepBuffersFree();
    void CloseUnusedDatabases();
    bool DisplaceNewcomer();
    bool DisplaceIdleUser();

    const ServerOptions options_;
    const Clock clock_;
    ServerStats stats_;
    Services services_;
    CQXBASE::tls::Context tls_;  ///< null without TLS
    network::EventLoop loop_;
    network::HandshakeQueue handshakes_;
    std::string scratch_;
    ByteBudget strangersBuffers_;
    Connections connections_;
    // Of connections_:
    Groups newcomers_;      ///< those without a login, by their address
    Groups users_;          ///< the others, by their account
    Connections rejected_;  ///< over the limit, being told so
    std::vector<std::unique_ptr<network::Connection>> retired_;
    std::list<UnderWay> underWay_;  ///< an element belongs to its worker until it is delivered
    std::unordered_map<network::ConnectionId, Place> working_;  ///< of connections_, in underWay_
    network::EventLoop::Tasks stop_;  ///< what Stop posts, made in time as well
    network::ConnectionId lastId_ = 0;
    bool stopping_ = false;
    TimePoint graceEnd_;
    TimePoint nextClosing_;  ///< of connections to databases, of the steady clock
    requests::WorkerPool::Ticket closing_;
    std::atomic<bool> closes_{false};  ///< the ticket is in use
    std::unique_ptr<network::Listener> listener_;
    std::uint16_t port_ = 0;
    // The last members, so that their threads end before what they use.
    requests::WorkerPool strangersWorkers_;
    requests::WorkerPool loginWorkers_;
    requests::WorkerPool workers_;
};

}  // namespace CQXSERVER::operation
