#include "tests/support/MariaDbServer.h"

#include <csignal>
#include <unistd.h>

namespace qxdb_test {
namespace {

const char* const kSetUp =
    "CREATE DATABASE IF NOT EXISTS testing CHARACTER SET utf8mb4;\n"
    "CREATE USER IF NOT EXISTS tester@'%' IDENTIFIED BY 'se cret;\\\\x';\n"
    "GRANT ALL ON *.* TO tester@'%';\n";

}  // namespace

MariaDbServer::MariaDbServer(const std::vector<std::string>& more) {
    WriteFile(Folder().File("setup.sql"), kSetUp);
    Words common{"--no-defaults", "--datadir=" + Folder().File("data"),
                 // A server that starts removes what it finds of others.
                 "--tmpdir=" + Folder().Path().string()};
    if (geteuid() == 0) {
        common.emplace_back("--user=root");
    }
    Words install{"mariadb-install-db"};
    install.insert(install.end(), common.begin(), common.end());
    install.insert(install.end(), {"--auth-root-authentication-method=normal", "--skip-test-db"});
    RunToSuccess(install);
    Words server{"mariadbd"};
    server.insert(server.end(), common.begin(), common.end());
    server.insert(server.end(),
                  {"--port=" + std::to_string(Port()), "--bind-address=127.0.0.1",
                   "--socket=" + Folder().File("socket"), "--pid-file=" + Folder().File("pid"),
                   "--init-file=" + Folder().File("setup.sql"), "--skip-name-resolve",
                   "--innodb-flush-log-at-trx-commit=0", "--innodb-flush-method=nosync",
                   "--sync-frm=0", "--innodb-log-file-size=16M", "--innodb-buffer-pool-size=32M",
                   "--max-allowed-packet=64M"});
    server.insert(server.end(), more.begin(), more.end());
    Set(server, "ready for connections", SIGKILL);
    Start();
}

}  // namespace qxdb_test
