// Every call that an operation makes fails once: the agent tells so, loses nothing, and goes on.
#include "tests/injection/injection.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/err.h>

#include "server/operation/services.h"
#include "server/sessions/account_store.h"
#include "server/sessions/password_hash.h"
#include "tests/injection/bench.h"
#include "tests/support/RemoteAgent.h"
#include "tests/support/TestTls.h"

namespace qxdb_test {
namespace {

constexpr Fault kFaults[] = {
    {"AllocationFails", Calls::Allocations, ENOMEM, false},
    {"MemoryIsUsedUp", Calls::Allocations, ENOMEM, true},
    {"SocketCallIsReset", Calls::Sockets, ECONNRESET, false},
    {"NetworkIsDown", Calls::Sockets, ENETDOWN, true},
    {"SocketCallLacksMemory", Calls::Sockets, ENOBUFS, false},
    {"SocketCallIsInterrupted", Calls::Sockets, EINTR, false},
    {"TransferIsShort", Calls::Sockets, kShortTransfer, false},
    {"DiskIsFull", Calls::Disk, ENOSPC, true},
    {"DiskFails", Calls::Disk, EIO, false},
    {"WriteIsShort", Calls::Disk, kShortTransfer, false},
};

constexpr int kMostCalls = 20000;  ///< more than any operation makes
constexpr long kTimedOut = 10060;
constexpr int kLeakRounds = 3;

/// What a failed operation may leave behind.
enum class AfterFailure {
    Nothing,
    AllOrNothing  ///< the answer may be what was lost
};

class Sweep {
  public:
    Sweep(Bench& bench, Injection& injection, const Fault& fault, AfterFailure after)
        : bench_(bench), injection_(injection), fault_(fault), after_(after) {
        bench_.before = [this] { injection_.Arm(fault_, first_); };
        bench_.after = [this] { failed_ = injection_.Disarm(); };
    }
    ~Sweep() {
        bench_.before = bench_.after = [] {};
    }
    Sweep(const Sweep&) = delete;
    Sweep& operator=(const Sweep&) = delete;

    /// Lets the first call of the operation fail, then the second, until it makes no more.
    void Run(const Operation& operation, bool fresh) {
        int leaks = 0;
        failed_ = 1;
        done_.reserve(kMostCalls);
        // OpenSSL's handshake makes thousands of allocations, each of which costs one to try.
        const long step = TestsRunOverTls() && fault_.calls == Calls::Allocations ? 16 : 1;
        for (first_ = 1; failed_ > 0 && first_ < kMostCalls && !testing::Test::HasFailure();
             first_ += step) {
            SCOPED_TRACE(std::string(operation.name) + (fresh ? ", fresh, " : ", ") + fault_.name +
                         " from call " + std::to_string(first_));
            const long before = injection_.Live();
            Try(operation, fresh);
            // What is kept for later is made once; what leaks, leaks every time.
            int grown = injection_.Live() > before ? 1 : 0;
            for (int round = 1; checkLeaks && grown == round && round < kLeakRounds; ++round) {
                const long again = injection_.Live();
                Try(operation, fresh);
                grown += injection_.Live() > again ? 1 : 0;
            }
            if (grown == kLeakRounds) {
                std::printf("%s%s: call %ld leaves allocations behind\n", operation.name,
                            fresh ? ", fresh" : "", first_);
                ++leaks;
            }
            points += failed_ > 0 ? 1 : 0;
        }
        EXPECT_LE(leaks, leaksAllowed);
        CheckRows(operation);
        EXPECT_TRUE(first_ > 1 + step || testing::Test::HasFailure())
            << operation.name << " makes no such call";
        EXPECT_LT(first_, kMostCalls);
    }

    bool checkLeaks = true;
    int leaksAllowed = 0;  ///< calls of each operation after whose failure another's library leaks
    long points = 0;       ///< calls that have failed, each in a run of its own
    long refusals = 0;     ///< of these, those that the caller was told of

  private:
    void Try(const Operation& operation, bool fresh) {
        if (fresh) {
            bench_.Renew();
        }
        const Result result = operation.run(bench_);
        EXPECT_EQ(result.thrown, "");
        EXPECT_TRUE(result.right) << result.code << " " << Utf8(result.text);
        ERR_clear_error();  // OpenSSL keeps the latest reasons
        const std::string complaint = bench_.Complaint();
        ASSERT_EQ(complaint, "") << "from the call after " << result.code << " "
                                 << Utf8(result.text);
        EXPECT_NE(result.code, kTimedOut) << "the caller was left to wait";
        if (result.code == 0) {
            done_.push_back(bench_.Mark());
        } else {
            ++refusals;
            EXPECT_FALSE(result.text.empty()) << result.code;
        }
    }

    /// Looked at when all is over: what the agent gave up may have been done later.
    void CheckRows(const Operation& operation) {
        for (const auto& [mark, rows] : bench_.RowsOfMarks()) {
            EXPECT_EQ(rows, operation.rows) << "half done, or twice";
            const auto told = std::find(done_.begin(), done_.end(), mark);
            EXPECT_TRUE(told != done_.end() || after_ == AfterFailure::AllOrNothing)
                << "told as failed, but done";
            if (told != done_.end()) {
                done_.erase(told);
            }
        }
        EXPECT_TRUE(operation.rows == 0 || done_.empty()) << "told as done, but not";
        done_.clear();
        bench_.Clean();
    }

    Bench& bench_;
    Injection& injection_;
    const Fault& fault_;
    const AfterFailure after_;
    long first_ = 1;
    long failed_ = 0;
    std::vector<std::int64_t> done_;  ///< marks of what was told as done
};

void PrintCount(const Sweep& sweep) {
    testing::Test::RecordProperty("points", std::to_string(sweep.points));
    std::printf("%ld calls failed, each once; %ld times the caller was told\n", sweep.points,
                sweep.refusals);
}

std::vector<Fault> FaultsOf(std::initializer_list<Calls> kinds) {
    std::vector<Fault> faults;
    for (const Fault& each : kFaults) {
        if (std::find(kinds.begin(), kinds.end(), each.calls) != kinds.end()) {
            faults.push_back(each);
        }
    }
    return faults;
}

class LocalInjection : public testing::TestWithParam<std::tuple<CQXDB::CQXDB_DSType_ENUM, Fault>> {
};

TEST_P(LocalInjection, IsToldAndUndone) {
    const auto& [type, fault] = GetParam();
    LocalBench bench(type);
    Injection injection;
    Sweep sweep(bench, injection, fault, AfterFailure::Nothing);
    for (const bool fresh : {true, false}) {
        // POCO's session forgets what it holds when it fails halfway through its constructor.
        sweep.leaksAllowed = fresh && type != CQXDB::CQXDB_DS_EMBEDDED ? 10 : 0;
        for (const Operation& operation : bench.Operations()) {
            if (fault.calls != Calls::Disk || operation.rows > 0) {
                sweep.Run(operation, fresh);
            }
        }
    }
    PrintCount(sweep);
}

INSTANTIATE_TEST_SUITE_P(
    Managers, LocalInjection,
    testing::Combine(testing::Values(CQXDB::CQXDB_DS_EMBEDDED, CQXDB::CQXDB_DS_SQLITE),
                     testing::ValuesIn(FaultsOf({Calls::Allocations, Calls::Disk}))),
    [](const auto& each) {
        const bool poco = std::get<0>(each.param) != CQXDB::CQXDB_DS_EMBEDDED;
        return std::string(poco ? "Poco" : "Sqlite") + std::get<1>(each.param).name;
    });

/// A server that a plan directs, with a password that is cheap to check.
class PlannedServer {
  public:
    PlannedServer()
        : injection(folder_.File("plan")),
          server(QXDB_SERVER_PROGRAM, Arguments(),
                 {injection.PreloadVariable(), injection.PlanVariable()}) {
        CQXSERVER::sessions::AccountStore accounts(
            CQXSERVER::operation::AccountStorePath(server.Folder().Path().string()));
        const CQXSERVER::sessions::ScryptCost cheap{2, 1, 1};
        accounts.SetPassword(QxdbServer::kUser,
                             CQXSERVER::sessions::HashPassword(QxdbServer::kPassword, cheap));
    }

  private:
    TempDir folder_;

    std::vector<std::string> Arguments() const {
        if (!TestsRunOverTls()) {
            return {"--config", MakeConfig()};
        }
        const CertificateFiles& files = TestTls::Get().server;
        return {"--config",        MakeConfig(), "--require-tls", "--tls-certificate",
                files.certificate, "--tls-key",  files.key};
    }

    /// Few sessions, so that those of refused logins don't look like a leak for long.
    std::string MakeConfig() const {
        WriteFile(folder_.File("config"), "[limits]\nmax_sessions = 4\n");
        return folder_.File("config");
    }

  public:
    Injection injection;
    QxdbServer server;
};

class RemoteInjection : public testing::TestWithParam<Fault> {
  protected:
    void RunAll(Injection& injection, bool checkLeaks) {
        const Fault fault = GetParam();
        RemoteBench bench(planned_.server);
        Sweep sweep(bench, injection, fault, AfterFailure::AllOrNothing);
        sweep.checkLeaks = checkLeaks;
        for (const Operation& operation : bench.Operations()) {
            if (fault.calls != Calls::Disk || operation.rows > 0) {
                // ACE's handler forgets its proxy object when there is no memory to count it.
                sweep.leaksAllowed = operation.name == std::string("login") ? 1 : 0;
                sweep.Run(operation, false);
            }
        }
        PrintCount(sweep);
        EXPECT_TRUE(planned_.server.Process().Running()) << planned_.server.Log();
    }

    PlannedServer planned_;
};

using ClientInjection = RemoteInjection;
using ServerInjection = RemoteInjection;

TEST_P(ClientInjection, IsToldAndTheNextCallWorks) {
    Injection own;
    RunAll(own, true);
}

TEST_P(ServerInjection, IsAnsweredAndTheServerGoesOn) {
    RunAll(planned_.injection, false);
}

constexpr auto NameOf = [](const auto& each) { return std::string(each.param.name); };

INSTANTIATE_TEST_SUITE_P(Agent, ClientInjection,
                         testing::ValuesIn(FaultsOf({Calls::Allocations, Calls::Sockets})), NameOf);
INSTANTIATE_TEST_SUITE_P(
    Program, ServerInjection,
    testing::ValuesIn(FaultsOf({Calls::Allocations, Calls::Sockets, Calls::Disk})), NameOf);

}  // namespace
}  // namespace qxdb_test
