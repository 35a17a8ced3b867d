#include "server/operation/server.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <thread>
#include <utility>

#include "platform/console/stop_signals.h"
#include "platform/sockets/server_reactor.h"
#include "server/log.h"
#include "server/requests/request_handler.h"

namespace CQXSERVER::operation {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t kScratchBytes = 64 * kKiB;
constexpr std::size_t kRejectedAtOnce = 64;  ///< connections beyond these are closed without a word
/// Descriptors for the listener, files, database connections and connections being rejected.
constexpr std::size_t kOtherHandles = 512;
constexpr unsigned kFewestWorkers = 8;

unsigned WorkerCount(unsigned wanted) {
    return wanted != 0 ? wanted : std::max(kFewestWorkers, 2 * std::thread::hardware_concurrency());
}

/// Keeps the number of connections below what the system lets the process open.
ServerOptions FitToSystem(ServerOptions options) {
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
    const milliseconds shortest =
        std::min({limits.loginTimeout, limits.idleTimeout, limits.requestTimeout});
    return std::clamp(shortest / 4, milliseconds(5), milliseconds(1000));
}

}  // namespace

Server::Server(ServerOptions options, Clock clock)
    : options_(FitToSystem(std::move(options))),
      clock_(std::move(clock)),
      services_(options_, clock_),
      loop_(options_.limits.maxConnections + kOtherHandles),
      scratch_(kScratchBytes, '\0'),
      workers_(WorkerCount(options_.workers)),
      loginWorkers_(std::max(1U, options_.loginWorkers)) {
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
          stats_.timedOut, " timed out; sessions: ", services_.sessions.Count(),
          "; requests: ", stats_.running, " running, ", stats_.requests, " in all");
}

void Server::Submit(network::Request request) {
    underWay_.push_back({std::move(request), {}, {}});
    const auto work = std::prev(underWay_.end());
    try {
        Hand(work,
             requests::RequestHandler::IsLogin(work->request.Code()) ? loginWorkers_ : workers_);
    } catch (...) {
        underWay_.erase(work);
        throw;
    }
    ++stats_.requests;
    ++stats_.running;
}

/// Prepared now, so that the call can't fail.
network::ReplyBody::Wake Server::Waker(network::ConnectionId id) {
    const auto tasks = std::make_shared<network::EventLoop::Tasks>();
    tasks->emplace_back([this, id] {
        const auto found = connections_.find(id);
        if (found != connections_.end()) {
            found->second->Continue();
        }
    });
    return [this, tasks] { loop_.Post(*tasks); };
}

/// Lets a worker serve the request, or go on with what was put off.
void Server::Hand(Place work, requests::WorkerPool& pool) {
    if (work->delivery.empty()) {
        work->delivery.emplace_back([this, work] { Complete(work); });
    }
    pool.Submit([this, work] {
        const auto later = std::exchange(work->outcome.later, {});
        work->outcome = later ? services_.handler.Resume(work->request, later)
                              : services_.handler.Handle(work->request);
        loop_.Post(work->delivery);
    });
}

void Server::Complete(Place work) {
    if (work->outcome.later && Postpone(work)) {
        return;
    }
    std::list<UnderWay> done;
    done.splice(done.end(), underWay_, work);
    --stats_.running;
    const network::ConnectionId id = work->request.connection;
    const auto found = connections_.find(id);
    if (found != connections_.end()) {
        if (!work->outcome.token.empty()) {
            newcomers_.erase(id);
        }
        found->second->Finish(std::move(work->outcome));
    }
}

/// Has the rest of the work done when its time has come; false when there is no memory for that.
bool Server::Postpone(Place work) {
    try {
        loop_.At(SteadyNow() + work->outcome.wait, [this, work] { Hand(work, loginWorkers_); });
        return true;
    } catch (const std::bad_alloc&) {
        LogError("connection ", work->request.connection, ": out of memory");
        return false;
    }
}

/// Makes room by closing the oldest connection that has neither logged in nor asked for anything
/// now, so that a crowd of strangers does not keep users out. False when there is none.
bool Server::DisplaceNewcomer() {
    const auto found =
        std::find_if(newcomers_.begin(), newcomers_.end(),
                     [this](network::ConnectionId id) { return connections_.at(id)->Waits(); });
    if (found == newcomers_.end()) {
        return false;
    }
    ++stats_.displaced;
    connections_.at(*found)->Close();
    return true;
}

void Server::Retire(network::ConnectionId id) {
    newcomers_.erase(id);
    for (Connections* const each : {&connections_, &rejected_}) {
        const auto found = each->find(id);
        if (found != each->end()) {
            LogDebug("connection ", id, ": closed");
            retired_.push_back(std::move(found->second));
            each->erase(found);
        }
    }
    stats_.open = connections_.size();
}

network::ReplyFrame Server::ErrorReply(ServerError error, bool enciphered) const {
    return services_.encoder.EncodeError(error, enciphered);
}

void Server::Accept(const ACE_SOCK_Stream& peer, const std::string& address) {
    const network::ConnectionId id = ++lastId_;
    const bool full = connections_.size() >= options_.limits.maxConnections && !DisplaceNewcomer();
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
    Enlist(std::move(connection), id, full);
    if (opened.Open(loop_.Reactor()) && full) {
        opened.Reject(ServerError::TooManyConnections);
    }
    stats_.open = connections_.size();
}

void Server::Enlist(std::unique_ptr<network::Connection> connection, network::ConnectionId id,
                    bool full) {
    if (!full) {
        newcomers_.insert(id);
    }
    try {
        (full ? rejected_ : connections_).emplace(id, std::move(connection));
    } catch (...) {
        newcomers_.erase(id);
        throw;
    }
}

void Server::Tick() {
    const TimePoint now = Now();
    for (network::Connection* const each : AllConnections()) {
        if (each->CloseIfLate(now)) {
            ++stats_.timedOut;
        }
    }
    if (listener_ != nullptr) {
        listener_->Resume();
    }
    loop_.At(SteadyNow() + TickInterval(options_.limits), [this] { Tick(); });
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
