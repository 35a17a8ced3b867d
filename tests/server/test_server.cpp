#include "tests/server/test_server.h"

#include <thread>
#include <utility>

#include "server/sessions/password_hash.h"
#include "tests/support/TestTls.h"

namespace qxdb_test {

using namespace CQXSERVER;

TestServer::TestServer(const Change& change, Clock clock) {
    ServerOptions options;
    options.dataDir = folder_.File("data");
    options.listen = "127.0.0.1:0";
    if (TestsRunOverTls()) {
        options.tls.certificate = TestTls::Get().server.certificate;
        options.tls.key = TestTls::Get().server.key;
        options.tls.required = true;
    }
    if (change) {
        change(options);
    }
    server_ = std::make_unique<operation::Server>(options, std::move(clock));
    AddUser("ann", "secret");
    running_ = std::async(std::launch::async, [this] { return server_->Run(); });
}

TestServer::~TestServer() {
    if (running_.valid()) {
        Stop();
    }
}

void TestServer::AddUser(const std::string& name, const std::string& password,
                         const AllowedDatabases& databases) {
    server_->Accounts().Add(name, sessions::HashPassword(password, sessions::ScryptCost{2, 1, 1}),
                            databases);
}

RawClient TestServer::LoggedIn() const {
    RawClient client = Connect();
    client.Login(L"ann", L"secret");
    return client;
}

std::size_t TestServer::Stop() {
    server_->Stop();
    return running_.get();
}

bool Eventually(const std::function<bool()>& condition) {
    const TimePoint limit = SteadyNow() + std::chrono::minutes(1);
    while (!condition()) {
        if (SteadyNow() > limit) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

}  // namespace qxdb_test
