#include "FirebirdServer.h"

#include <filesystem>
#include <stdexcept>

#include "tests/support/FreePort.h"

namespace qxdb_bench {
namespace {

namespace fs = std::filesystem;
using qxdb_test::ChildProcess;

const fs::path kInstalled = "/usr/lib/x86_64-linux-gnu/firebird/3.0";
const fs::path kSecurity = "/var/lib/firebird/3.0/system/security3.fdb";

}  // namespace

FirebirdServer::FirebirdServer() : port_(qxdb_test::FreePort()) {
    WriteConfiguration();
    MakeDatabase();
    server_ = std::make_unique<ChildProcess>("/usr/sbin/firebird", std::vector<std::string>{},
                                             ChildProcess::Options{{}, Environment(), {}});
    if (!server_->WaitUntil([this] { return qxdb_test::Listens(port_); })) {
        throw std::runtime_error("Firebird does not start: " + server_->Errors());
    }
}

FirebirdServer::~FirebirdServer() {
    server_->Kill();  // on SIGTERM it takes more than ten seconds
}

std::vector<std::string> FirebirdServer::Environment() const {
    return {"FIREBIRD=" + folder_.File("root"), "FIREBIRD_LOCK=" + folder_.File("lock"),
            "FIREBIRD_TMP=" + folder_.Path().string()};
}

void FirebirdServer::WriteConfiguration() const {
    const fs::path root = folder_.File("root");
    fs::create_directory(root);
    fs::create_directory(folder_.File("lock"));
    for (const char* const name : {"intl", "lib", "plugins", "plugins.conf", "firebird.msg"}) {
        fs::create_symlink(kInstalled / name, root / name);
    }
    fs::copy_file(kSecurity, folder_.File("security.fdb"));
    qxdb_test::WriteFile(root / "databases.conf",
                         Database() + " = " + folder_.File("comparison.fdb") +
                             "\nsecurity.db = " + folder_.File("security.fdb") + "\n");
    qxdb_test::WriteFile(
        root / "firebird.conf",
        "RemoteBindAddress = 127.0.0.1\nRemoteServicePort = " + std::to_string(port_) +
            "\nIpcName = " + folder_.Path().filename().string() +
            "\nSecurityDatabase = " + folder_.File("security.fdb") + "\n");
}

void FirebirdServer::MakeDatabase() const {
    ChildProcess::Options options;
    options.environment = Environment();
    options.input = "CREATE DATABASE '" + folder_.File("comparison.fdb") +
                    "' USER sysdba PAGE_SIZE 16384 DEFAULT CHARACTER SET UTF8; COMMIT; "
                    "CREATE OR ALTER USER " +
                    User() + " PASSWORD '" + Password() + "'; COMMIT; GRANT CREATE TABLE TO " +
                    User() + "; COMMIT;\n";
    ChildProcess isql("/usr/bin/isql-fb", {"-q", "-bail"}, options);
    if (isql.Wait() != 0) {
        throw std::runtime_error("isql-fb failed: " + isql.Output() + isql.Errors());
    }
    // No other server here waits for the disk.
    options.input.clear();
    ChildProcess gfix("/usr/bin/gfix",
                      {"-user", "sysdba", "-write", "async", folder_.File("comparison.fdb")},
                      options);
    if (gfix.Wait() != 0) {
        throw std::runtime_error("gfix failed: " + gfix.Output() + gfix.Errors());
    }
}

}  // namespace qxdb_bench
