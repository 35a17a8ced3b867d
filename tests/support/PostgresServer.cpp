#include "tests/support/PostgresServer.h"

#include <csignal>
#include <cstdlib>
#include <unistd.h>

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

}  // namespace

PostgresServer::PostgresServer(const std::vector<std::string>& more) {
    const std::string passwordFile = Folder().File("password");
    WriteFile(passwordFile, Password() + "\n");
    if (geteuid() == 0) {
        RunToSuccess({"chown", "-R", "postgres:postgres", Folder().Path().string()});
    }
    RunToSuccess(AsServerUser(
        "initdb",
        {"--pgdata=" + Folder().File("data"), "--username=" + User(), "--pwfile=" + passwordFile,
         "--auth=scram-sha-256", "--no-sync", "--encoding=UTF8", "--locale=C.UTF-8"}));
    Words server{"-D", Folder().File("data"),    "-p", std::to_string(Port()), "-h", "127.0.0.1",
                 "-k", Folder().Path().string(), "-F"};
    server.insert(server.end(), more.begin(), more.end());
    // SIGQUIT makes the server end its sessions without a word, and at once.
    Set(AsServerUser("postgres", server), "ready to accept connections", SIGQUIT);
    Start();
}

}  // namespace qxdb_test
