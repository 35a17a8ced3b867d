// A server inside the test's process.
#pragma once

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "server/operation/server.h"
#include "tests/server/raw_client.h"
#include "tests/support/TempDir.h"

namespace qxdb_test {

/// A clock that stands still until it is turned. Copies are the same clock.
class HandClock {
  public:
    CQXSERVER::TimePoint operator()() const { return start_ + std::chrono::milliseconds(*passed_); }
    void Advance(std::chrono::milliseconds time) { *passed_ += time.count(); }

  private:
    CQXSERVER::TimePoint start_ = CQXSERVER::SteadyNow();
    std::shared_ptr<std::atomic<std::int64_t>> passed_ =
        std::make_shared<std::atomic<std::int64_t>>(0);
};

/// Runs on a thread of its own, on a free loopback port and in a folder of its own, with the
/// account "ann", password "secret". Stops on destruction.
class TestServer {
  public:
    using Change = std::function<void(CQXSERVER::ServerOptions&)>;

    explicit TestServer(const Change& change = {}, CQXSERVER::Clock clock = CQXSERVER::SteadyNow);
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    /// With a hash that is cheap to check.
    void AddUser(const std::string& name, const std::string& password,
                 const CQXSERVER::AllowedDatabases& databases = CQXSERVER::AllowedDatabases::All());
    RawClient Connect() const { return RawClient(server_->Port()); }
    RawClient LoggedIn() const;
    CQXSERVER::operation::Server& Get() noexcept { return *server_; }
    const TempDir& Folder() const noexcept { return folder_; }
    /// Stops and gives what Run returned.
    std::size_t Stop();

  private:
    TempDir folder_;
    std::unique_ptr<CQXSERVER::operation::Server> server_;
    std::future<std::size_t> running_;
};

/// Waits until `condition` holds; false after a minute.
bool Eventually(const std::function<bool()>& condition);

/// The numbers as tests compare them.
constexpr std::int32_t Number(CQXSERVER::ServerError error) {
    return static_cast<std::int32_t>(error);
}

}  // namespace qxdb_test
