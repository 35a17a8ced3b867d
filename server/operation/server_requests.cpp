#include <iterator>
#include <new>
#include <utility>

#include "server/log.h"
#include "server/operation/server.h"
#include "server/requests/request_handler.h"

namespace CQXSERVER::operation {

void Server::Submit(network::Request request) {
    request.cancellation = std::make_shared<CQXDB::Cancellation>();
    underWay_.push_back({std::move(request), {}, {}, nullptr, {}, false});
    const auto work = std::prev(underWay_.end());
    const network::ConnectionId id = work->request.connection;
    try {
        working_.emplace(id, work);
        Hand(work, FirstLane(work->request));
    } catch (...) {
        working_.erase(id);
        underWay_.erase(work);
        throw;
    }
    ++stats_.requests;
    ++stats_.running;
}

/// Commands of those who have logged in go straight to the databases, each account's in a lane of
/// its own; all else is looked at first.
network::Lane Server::FirstLane(const network::Request& request) const {
    std::string account = services_.sessions.AccountOf(request.token);
    if (account.empty()) {
        return {network::Crew::Strangers, request.address, false};
    }
    const bool command = requests::RequestHandler::IsCommand(request.Code());
    return {command ? network::Crew::Databases : network::Crew::Strangers, std::move(account),
            !command};
}

requests::WorkerPool& Server::PoolOf(network::Crew crew) noexcept {
    switch (crew) {
        case network::Crew::Logins:
            return loginWorkers_;
        case network::Crew::Databases:
            return workers_;
        case network::Crew::Strangers:
            break;
    }
    return strangersWorkers_;
}

/// Lets a worker serve the request, or go on with what was put off.
void Server::Hand(Place work, const network::Lane& lane) {
    if (work->delivery.empty()) {
        work->delivery.emplace_back([this, work] { Complete(work); });
    }
    work->pool = &PoolOf(lane.crew);
    const bool waits = work->pool->Submit(
        lane.name, lane.favoured,
        [this, work] {
            const auto later = std::exchange(work->outcome.later, {});
            work->outcome = later ? services_.handler.Resume(work->request, later)
                                  : services_.handler.Handle(work->request);
            loop_.Post(work->delivery);
        },
        work->ticket);
    if (!waits) {
        work->outcome = services_.handler.Refuse(work->request, ServerError::TooManyWaiting);
        loop_.Post(work->delivery);
    }
}

void Server::Complete(Place work) {
    if (!work->gone && work->outcome.later && GoOn(work)) {
        return;
    }
    std::list<UnderWay> done;
    done.splice(done.end(), underWay_, work);
    --stats_.running;
    network::Outcome& outcome = work->outcome;
    if (work->gone) {
        services_.transactions.EndConnection(work->request.connection);  // one begun meanwhile
        const bool command = requests::RequestHandler::IsCommand(work->request.Code());
        if (!command && outcome.token != work->request.token) {
            services_.sessions.End(outcome.token);  // a login's, of which nobody was told
        }
        return;
    }
    working_.erase(work->request.connection);
    const auto found = connections_.find(work->request.connection);
    if (found != connections_.end()) {
        NoteAccount(*found->second, outcome.token);
        found->second->Finish(std::move(outcome));
    }
}

/// Has the rest of the work done when its time has come; false when there is no memory for that.
bool Server::GoOn(Place work) {
    const auto go = [this, work] {
        if (work->gone) {
            Complete(work);
        } else {
            Hand(work, work->outcome.lane);
        }
    };
    try {
        if (work->outcome.wait.count() == 0) {
            go();
        } else {
            loop_.At(SteadyNow() + work->outcome.wait, go);
        }
        return true;
    } catch (const std::bad_alloc&) {
        LogError("connection ", work->request.connection, ": out of memory");
        return false;
    }
}

/// The client is gone: what has not begun never will, and what runs is cancelled.
void Server::Abandon(Place work) noexcept {
    working_.erase(work->request.connection);
    if (work->pool->Withdraw(work->ticket)) {
        --stats_.running;
        underWay_.erase(work);
        return;
    }
    work->gone = true;
    try {
        services_.canceller.Add(work->request.cancellation);
    } catch (const std::bad_alloc&) {
        LogError("connection ", work->request.connection, ": no memory to cancel its request");
    }
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

network::ReplyFrame Server::ErrorReply(ServerError error, bool enciphered) const {
    return services_.encoder.EncodeError(error, enciphered);
}

ServerError Server::Admit(const network::FrameReader& frame, const std::string& token) {
    return services_.handler.Admit(frame, token);
}

}  // namespace CQXSERVER::operation
