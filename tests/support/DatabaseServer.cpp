#include "tests/support/DatabaseServer.h"

#include <csignal>
#include <fstream>
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

void DatabaseServer::Kill() {
    const std::string pid = std::to_string(server_->Pid());
    kill(server_->Pid(), SIGSTOP);
    std::ifstream children("/proc/" + pid + "/task/" + pid + "/children");
    std::vector<pid_t> processes{server_->Pid()};
    for (pid_t child = 0; children >> child;) {
        processes.push_back(child);
    }
    for (const pid_t process : processes) {
        kill(process, SIGKILL);
    }
    server_->Wait();
    server_.reset();
}

void DatabaseServer::Stop() {
    kill(server_->Pid(), endSignal_);
    server_->Wait();
    server_.reset();
}

}  // namespace qxdb_test
