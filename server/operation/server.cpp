#include "server/operation/server.h"

#include <algorithm>
#include <new>
#include <thread>
#include <utility>

#include <qxdb/DBMgr.h>

#include "platform/console/stop_signals.h"
#include "platform/sockets/server_reactor.h"
#include "server/log.h"
#include "server/operation/tls_files.h"
#include "server/requests/database_work.h"

namespace CQXSERVER::operation {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t kScratchBytes = 64 * kKiB;
/// Descriptors for the listener, files, database connections and connections being rejected.
constexpr std::size_t kOtherHandles = 512;
constexpr unsigned kFewestWorkers = 8;
constexpr unsigned kStrangersWorkers = 1;
constexpr std::chrono::seconds kBetweenClosings{30};
/// Logins that wait in one lane: about 25 s for one worker.
constexpr std::size_t kWaitingLogins = 256;

/// Some of the beginnings of frames that fill all places of connections.
std::size_t StrangersBytes(const Limits& limits) {
    return std::max(kMiB, limits.maxBufferedBytes / 64);
}

unsigned WorkerCount(unsigned wanted) {
    return wanted != 0 ? wanted : std::max(kFewestWorkers, 2 * std::thread::hardware_concurrency());
}

/// Keeps the number of connections below what the system lets the process open, and SQLite within
/// its memory.
ServerOptions FitToSystem(ServerOptions options) {
    if (!CQXDB::DBMgr::LimitMemory(options.limits.sqliteBytes)) {
        LogWarning("SQLite is in use already: its memory is not bounded");
    }
    const std::size_t allowed = CQXBASE::platform::sockets::RaiseHandleLimit();
    const std::size_t usable = allowed > 2 * kOtherHandles ? allowed - kOtherHandles : allowed / 2;
    if (options.limits.maxConnections > usable) {
        LogWarning("the system allows ", allowed, " descriptors: at most ", usable,
                   " connections instead of ", options.limits.maxConnections);
        options.limits.maxConnections = usable;
    }
    return options;
}

/// Often enough that no time limit is overrun by more than a quarter.
milliseconds TickInterval(const Limits& limits) {
    const milliseconds shortest = std::min(
        {limits.loginTimeout, limits.idleTimeout, limits.requestTimeout, limits.transactionIdle});
    return std::clamp(shortest / 4, milliseconds(5), milliseconds(1000));
}

}  // namespace

Server::Server(ServerOptions options, Clock clock)
    : options_(FitToSystem(std::move(options))),
      clock_(std::move(clock)),
      services_(options_, clock_),
      tls_(LoadTls(options_)),
      loop_(options_.limits.maxConnections + kOtherHandles),
      scratch_(kScratchBytes, '\0'),
      strangersBuffers_(StrangersBytes(options_.limits)),
      strangersWorkers_(kStrangersWorkers, options_.limits.maxConnections),
      loginWorkers_(std::max(1U, options_.loginWorkers), kWaitingLogins),
      workers_(WorkerCount(options_.workers), options_.limits.maxConnections) {
    CQXBASE::platform::console::IgnoreBrokenPipes();
    stop_.emplace_back([this] { BeginStop(); });
    listener_ = std::make_unique<network::Listener>(
        options_.listen, loop_.Reactor(),
        [this](const ACE_SOCK_Stream& peer, const std::string& address) { Accept(peer, address); });
    port_ = listener_->Port();
    Tick();
}

Server::~Server() {
    listener_.reset();
    for (network::Connection* const each : AllConnections()) {
        each->Close();
    }
}

std::size_t Server::Run() {
    loop_.BindToThisThread();
    while (!Finished()) {
        loop_.RunOnce();
        GoOnWithHandshakes();
        retired_.clear();
    }
    return stats_.running;
}

void Server::Stop() {
    loop_.Post(stop_);
}

void Server::LogStatistics() const {
    LogAt(Poco::Message::PRIO_NOTICE, "connections: ", stats_.open, " open, ", stats_.accepted,
          " accepted, ", stats_.refused, " refused, ", stats_.displaced, " displaced, ",
          stats_.timedOut, " timed out, ", stats_.stalled, " stalled, ", stats_.failedHandshakes,
          " without a TLS handshake in order; sessions: ", services_.sessions.Count(),
          "; transactions: ", services_.transactions.Count(), "; requests: ", stats_.running,
          " running, ", stats_.requests, " in all");
}

void Server::Tick() {
    const TimePoint now = Now();
    for (network::Connection* const each : AllConnections()) {
        if (each->CloseIfLate(now)) {
            ++stats_.timedOut;
        }
    }
    KeepBuffersFree();
    services_.transactions.EndExpired();
    CloseUnusedDatabases();
    if (listener_ != nullptr) {
        listener_->Resume();
    }
    loop_.At(SteadyNow() + TickInterval(options_.limits), [this] { Tick(); });
}

/// Pools look after themselves when they are used; this is for those that are not any more.
void Server::CloseUnusedDatabases() {
    if (SteadyNow() < nextClosing_ || closes_.exchange(true)) {
        return;
    }
    nextClosing_ = SteadyNow() + kBetweenClosings;
    const auto close = [this] {
        requests::CloseExpired();
        closes_ = false;
    };
    try {
        workers_.Submit(std::string(), false, close, closing_);  // a lane that no account has
    } catch (const std::bad_alloc&) {
        closes_ = false;
    }
}

void Server::BeginStop() {
    if (stopping_) {
        return;
    }
    stopping_ = true;
    listener_.reset();
    graceEnd_ = SteadyNow() + options_.limits.graceTimeout;
    loop_.At(graceEnd_, [] {});
    for (network::Connection* const each : AllConnections()) {
        each->CloseUnlessBusy();
    }
    LogAt(Poco::Message::PRIO_NOTICE, "stopping; requests still running: ", stats_.running);
}

bool Server::Finished() const {
    const bool idle = connections_.empty() && stats_.running == 0;
    return stopping_ && (idle || SteadyNow() >= graceEnd_);
}

}  // namespace CQXSERVER::operation
