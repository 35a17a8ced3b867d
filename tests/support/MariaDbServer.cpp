#include "tests/support/MariaDbServer.h"

#include <stdexcept>
#include <unistd.h>
#include <utility>
#include <vector>

#include "tests/support/FreePort.h"

namespace qxdb_test {
namespace {

const char* const kSetUp =
    "CREATE DATABASE IF NOT EXISTS testing CHARACTER SET utf8mb4;\n"
    "CREATE USER IF NOT EXISTS tester@'%' IDENTIFIED BY 'se cret;\\\\x';\n"
    "GRANT ALL ON *.* TO tester@'%';\n";

}  // namespace

MariaDbServer::MariaDbServer(std::vector<std::string> more)
    : more_(std::move(more)), port_(FreePort()) {
    WriteFile(folder_.File("setup.sql"), kSetUp);
    std::vector<std::string> arguments{"--no-defaults", "--datadir=" + folder_.File("data"),
                                       // A server that starts removes what it finds of others.
                                       "--tmpdir=" + folder_.Path().string(),
                                       "--auth-root-authentication-method=normal",
                                       "--skip-test-db"};
    if (geteuid() == 0) {
        arguments.emplace_back("--user=root");
    }
    std::string output;
    if (RunProgram("mariadb-install-db", arguments, output) != 0) {
        throw std::runtime_error("mariadb-install-db failed: " + output);
    }
    Start();
}

MariaDbServer::~MariaDbServer() = default;

void MariaDbServer::Start() {
    std::vector<std::string> arguments{"--no-defaults",
                                       "--datadir=" + folder_.File("data"),
                                       "--tmpdir=" + folder_.Path().string(),
                                       "--port=" + std::to_string(port_),
                                       "--bind-address=127.0.0.1",
                                       "--socket=" + folder_.File("socket"),
                                       "--pid-file=" + folder_.File("pid"),
                                       "--init-file=" + folder_.File("setup.sql"),
                                       "--skip-name-resolve",
                                       "--innodb-flush-log-at-trx-commit=0",
                                       "--innodb-flush-method=nosync",
                                       "--sync-frm=0",
                                       "--innodb-log-file-size=16M",
                                       "--innodb-buffer-pool-size=32M",
                                       "--max-allowed-packet=64M"};
    if (geteuid() == 0) {
        arguments.emplace_back("--user=root");
    }
    arguments.insert(arguments.end(), more_.begin(), more_.end());
    server_ = std::make_unique<ChildProcess>("mariadbd", arguments);
    if (!server_->WaitForText("ready for connections")) {
        throw std::runtime_error("MariaDB does not start: " + server_->Errors());
    }
}

void MariaDbServer::Stop() {
    server_->Kill();
    server_->Wait();
    server_.reset();
}

}  // namespace qxdb_test
