// usage: qxdb_tour BIN_DIR SQL_FILE WORK_DIR
// Shows the library's public interface at work: on a local database, then on an application server
// that it starts on a free loopback port, over TLS, directly and through a SOCKS5 tunnel.
#include <exception>
#include <iostream>

#include "processes.h"
#include "steps.h"

namespace {

constexpr const char* kUser = "ada";
constexpr const char* kPassword = "correct horse battery";

void Remote(const std::string& title, const tour::Server& server, const CQXDB::QXProxyInfo& proxy) {
    tour::Heading(title);
    CQXDB::DBAgent agent;
    agent.SetTls(server.Tls());
    tour::LogIn(agent, server.Port(), proxy, kUser, kPassword);
    tour::Work(agent);
    tour::Session(agent);
    tour::LogOut(agent, server.Port(), proxy, kUser, kPassword);
}

void Tour(const std::string& binDir, const std::string& sqlFile, const std::string& workDir) {
    tour::Heading("Local: embedded SQLite");
    CQXDB::DBAgent local;
    tour::UseFile(local, workDir + "/library.db");
    tour::Load(local, sqlFile);
    tour::Work(local);

    const tour::Server server(binDir + "/qxdbserver", workDir, kUser, kPassword);
    {
        tour::Heading("Remote, over TLS: the same library on qxdbserver, 127.0.0.1:" +
                      std::to_string(server.Port()));
        CQXDB::DBAgent loader;
        tour::RefusedWithoutTls(server.Port(), kUser, kPassword);
        loader.SetTls(server.Tls());
        tour::LogIn(loader, server.Port(), {}, kUser, kPassword);
        tour::Load(loader, sqlFile);
        tour::Work(loader);
        tour::Session(loader);
        tour::LogOut(loader, server.Port(), {}, kUser, kPassword);
    }
    const tour::SocksProxy proxy;
    Remote("Remote again, over TLS through a SOCKS5 tunnel on 127.0.0.1:" +
               std::to_string(proxy.Port()),
           server, proxy.Info());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: qxdb_tour BIN_DIR SQL_FILE WORK_DIR\n";
        return 2;
    }
    try {
        Tour(argv[1], argv[2], argv[3]);
    } catch (const std::exception& error) {
        std::cerr << "qxdb_tour: " << error.what() << "\n";
        return 1;
    }
    std::cout << "\nAll done.\n";
    return 0;
}
