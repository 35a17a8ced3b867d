// A server under attack, and a user who wants nothing but to be served meanwhile.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "tests/server/raw_client.h"
#include "tests/support/QxdbServer.h"
#include "tests/support/TempDir.h"

namespace qxdb_attack {

// The limits of every target.
constexpr std::size_t kBufferedMiB = 256;
constexpr std::size_t kSqliteMiB = 512;
constexpr std::chrono::seconds kStatementLimit{2};

/// What an attack throws when it has reached what it is after.
class BrokenThrough : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Database servers that all targets have: "maria" and "postgres", which know of no time limit, and
/// "odbc", a SQLite file behind its ODBC driver.
class Databases {
  public:
    Databases();
    ~Databases();
    Databases(const Databases&) = delete;
    Databases& operator=(const Databases&) = delete;
    /// As in a configuration file.
    std::string Table() const;

  private:
    struct Servers;
    std::unique_ptr<Servers> servers_;
};

/// A qxdbserver with the account of QxdbServer and the attacker's "eve", password "secret".
class Target {
  public:
    Target(const std::string& program, const Databases& databases);

    qxdb_test::QxdbServer& Server() noexcept { return *server_; }
    std::uint16_t Port() const noexcept { return server_->Port(); }
    qxdb_test::RawClient Connect() const { return qxdb_test::RawClient(server_->Port()); }
    qxdb_test::RawClient Eve() const;
    qxdb_test::RawClient User() const;
    bool Alive() { return server_->Process().Running(); }
    std::size_t PeakMiB() const;

  private:
    qxdb_test::TempDir folder_;
    std::unique_ptr<qxdb_test::QxdbServer> server_;
};

/// The user: asks for a number, stores 100 KiB and logs in anew, over and over, until destroyed.
class Victim {
  public:
    explicit Victim(const Target& target);
    ~Victim() { Stop(); }
    Victim(const Victim&) = delete;
    Victim& operator=(const Victim&) = delete;
    void Stop();

    int Served() const { return served_; }
    int Refused() const { return refused_; }
    std::chrono::milliseconds Longest() const { return std::chrono::milliseconds(longestMs_); }

  private:
    void Live(const Target& target);
    void Try(const std::function<void()>& step);

    std::atomic<bool> stop_{false};
    std::atomic<int> served_{0};
    std::atomic<int> refused_{0};
    std::atomic<long long> longestMs_{0};
    std::thread thread_;
};

/// Threads that each run `step` with their number.
void AtOnce(int threads, const std::function<void(int)>& step);

}  // namespace qxdb_attack
