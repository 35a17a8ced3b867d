#include <chrono>
#include <utility>

#include <ace/Init_ACE.h>

#include <qxdb/DBAgent.h>

#include "agent/cancel_point.h"
#include "messages/message_holder.h"
#include "messages/session_records.h"
#include "messages/type_codes.h"
#include "transport/qxio.h"

namespace CQXDB {
namespace {

using std::chrono::milliseconds;

/// A statement that begins just when it is cancelled may miss it.
constexpr milliseconds kBetweenTries{250};
constexpr milliseconds kPatience{10000};
/// For each step of asking a server, which has nothing to wait for.
constexpr std::uint32_t kSilenceMs = 3000;

/// Asks the server over a connection of its own; false when it doesn't cancel anything for us.
bool AskServer(const RemoteCall& call) {
    ACE::init();
    CQXBASE::QXIO io(call.host, call.port, static_cast<unsigned>(call.proxy.kind), call.proxy.host,
                     static_cast<unsigned>(call.proxy.port), call.proxy.user, call.proxy.password);
    io.LimitSilence(kSilenceMs);
    io.UseTls(call.tls);
    CQXBASE::QXOneString request(call.token);
    char* data = nullptr;
    unsigned length = 0;
    std::string plainText;
    unsigned code = 0;
    bool enciphered = false;
    return io.Syc_sendobj(request, CQXBASE::kCancel, true, false) == 0 &&
           io.Syc_receive_data(data, length, plainText, code, enciphered) == 0 &&
           code == CQXBASE::kCancel;
}

}  // namespace

CancelPoint::Call::Call(CancelPoint& point) : point_(point) {
    auto fresh = std::make_unique<Cancellation>();
    const std::lock_guard<std::mutex> lock(point_.mutex_);
    point_.local_ = std::move(fresh);
    point_.remote_.reset();
    point_.running_ = true;
    ++point_.calls_;
}

CancelPoint::Call::~Call() {
    std::unique_lock<std::mutex> lock(point_.mutex_);
    point_.changed_.wait(lock, [this] { return !point_.asking_; });
    point_.running_ = false;
    point_.local_.reset();
    point_.changed_.notify_all();
}

bool CancelPoint::GoesOut(RemoteCall remote) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (local_ != nullptr && local_->Cancelled()) {
        return false;
    }
    remote_ = std::move(remote);
    return true;
}

bool CancelPoint::Cancel(milliseconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    std::unique_lock<std::mutex> lock(mutex_);
    const std::uint64_t call = calls_;
    const auto ended = [&] { return !running_ || calls_ != call; };
    while (!ended()) {
        const auto now = std::chrono::steady_clock::now();
        if (now >= end || !Ask(lock)) {
            break;
        }
        changed_.wait_until(lock, std::min(end, now + kBetweenTries), ended);
    }
    return ended();
}

/// A local statement, or a request that waits for its turn, is told right here.
bool CancelPoint::Ask(std::unique_lock<std::mutex>& lock) {
    if (!remote_) {
        local_->Cancel();
        return true;
    }
    if (asking_) {  // another thread is
        changed_.wait(lock, [this] { return !asking_; });
        return true;
    }
    asking_ = true;
    bool served = false;
    try {
        const RemoteCall remote = *remote_;
        lock.unlock();
        served = AskServer(remote);
    } catch (...) {
        served = false;  // no memory: the statement goes on
    }
    if (!lock.owns_lock()) {
        lock.lock();
    }
    asking_ = false;
    changed_.notify_all();
    return served;
}

bool DBAgent::Cancel() {
    return cancelPoint_->Cancel(kPatience);
}

}  // namespace CQXDB
