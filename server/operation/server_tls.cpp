#include <chrono>
#include <exception>
#include <optional>

#include "server/log.h"
#include "server/operation/server.h"
#include "server/operation/tls_files.h"

namespace CQXSERVER::operation {
namespace {

/// Of each turn of the loop; those who have logged in get the rest, however many strangers come.
constexpr std::chrono::microseconds kHandshakeTime{1000};

}  // namespace

void Server::ReloadTls() {
    try {
        CQXBASE::tls::Context fresh = LoadTls(options_);
        loop_.Post([this, fresh] {
            if (fresh == nullptr && tls_ != nullptr) {
                LogError("TLS stays as it was: its certificate is gone");
            } else {
                tls_ = fresh;
            }
        });
    } catch (const std::exception& e) {
        LogError("TLS stays as it was: ", e.what());
    }
}

void Server::AwaitHandshake(const network::Connection& connection) {
    handshakes_.Add(connection.Address(), connection.Id());
}

void Server::GoOnWithHandshakes() {
    const TimePoint end = SteadyNow() + kHandshakeTime;
    while (const std::optional<network::ConnectionId> id = handshakes_.Next()) {
        for (Connections* const each : {&connections_, &rejected_}) {
            const auto found = each->find(*id);
            if (found != each->end()) {
                found->second->GoOnWithHandshake();
                break;
            }
        }
        if (SteadyNow() >= end) {
            break;
        }
    }
    if (!handshakes_.Empty()) {
        loop_.Nudge();  // so that the next turn doesn't wait
    }
}

}  // namespace CQXSERVER::operation
