#include "tests/support/PostgresServer.h"

#include <cstdlib>
#include <stdexcept>
#include <unistd.h>
#include <utility>
#include <vector>

#include "tests/support/FreePort.h"

namespace qxdb_test {
namespace {

using Words = std::vector<std::string>;

std::string BinFolder() {
    const char* folder = std::getenv("QXDB_POSTGRESQL_BIN");
    return folder != nullptr ? folder : "/usr/lib/postgresql/15/bin";
}

/// The server refuses to run as root, so root runs it as another user, under the same process
/// number.
Words AsServerUser(const std::string& program, const Words& arguments) {
    Words words;
    if (geteuid() == 0) {
        words = {"setpriv", "--reuid=postgres", "--regid=postgres", "--clear-groups", "--"};
    }
    words.push_back(BinFolder() + "/" + program);
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

void Run(const Words& words) {
    std::string output;
    if (RunProgram(words[0], {words.begin() + 1, words.end()}, output) != 0) {
        throw std::runtime_error(words[0] + " failed: " + output);
    }
}

}  // namespace

PostgresServer::PostgresServer(std::vector<std::string> more)
    : more_(std::move(more)), port_(FreePort()) {
    const std::string passwordFile = folder_.File("password");
    WriteFile(passwordFile, Password() + "\n");
    if (geteuid() == 0) {
        Run({"chown", "-R", "postgres:postgres", folder_.Path().string()});
    }
    Run(AsServerUser("initdb", {"--pgdata=" + folder_.File("data"), "--username=" + User(),
                                "--pwfile=" + passwordFile, "--auth=scram-sha-256", "--no-sync",
                                "--encoding=UTF8", "--locale=C.UTF-8"}));
    Start();
}

PostgresServer::~PostgresServer() = default;

void PostgresServer::Start() {
    Words arguments = {"-D", folder_.File("data"), "-p", std::to_string(port_),
                       "-h", "127.0.0.1",          "-k", folder_.Path().string(),
                       "-F"};
    arguments.insert(arguments.end(), more_.begin(), more_.end());
    const Words words = AsServerUser("postgres", arguments);
    server_ = std::make_unique<ChildProcess>(words[0], Words(words.begin() + 1, words.end()));
    if (!server_->WaitForText("ready to accept connections")) {
        throw std::runtime_error("PostgreSQL does not start: " + server_->Errors());
    }
}

void PostgresServer::Stop() {
    // SIGQUIT makes the server end its sessions without a word, and at once.
    Run({"kill", "-QUIT", std::to_string(server_->Pid())});
    server_->Wait();
    server_.reset();
}

}  // namespace qxdb_test
