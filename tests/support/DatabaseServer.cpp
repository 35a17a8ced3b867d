#include "tests/support/DatabaseServer.h"

#include <csignal>
#include <stdexcept>
#include <utility>

#include "tests/support/FreePort.h"

namespace qxdb_test {

DatabaseServer::DatabaseServer() : port_(FreePort()) {}

DatabaseServer::~DatabaseServer() = default;

void DatabaseServer::Set(Words command, std::string ready, int endSignal) {
    command_ = std::move(command);
    ready_ = std::move(ready);
    endSignal_ = endSignal;
}

void DatabaseServer::Start() {
    server_ =
        std::make_unique<ChildProcess>(command_[0], Words(command_.begin() + 1, command_.end()));
    if (!server_->WaitForText(ready_)) {
        throw std::runtime_error(command_[0] + " does not start: " + server_->Errors());
    }
}

void DatabaseServer::Stop() {
    kill(server_->Pid(), endSignal_);
    server_->Wait();
    server_.reset();
}

}  // namespace qxdb_test
