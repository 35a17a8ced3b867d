// usage: bench_concurrent_exchanges QXDBSERVER
// What agents of one process gain from exchanging side by side: each mode in turn, medians.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/timing.h"
#include "tests/support/Certificates.h"
#include "tests/support/DatabaseUrl.h"
#include "tests/support/PostgresServer.h"
#include "tests/support/RemoteAgent.h"

namespace {

using namespace CQXDB;
using namespace qxdb_test;
using qxdb_bench::Samples;

void Ask(DBAgent& agent, const wchar_t* sql) {
    const Answer answer = Query(agent, sql);
    if (answer.code != 0) {
        throw std::runtime_error(Utf8(answer.text));
    }
}

/// Each agent on a thread of its own.
template <typename Work>
void InParallel(std::vector<DBAgent>& agents, const Work& work) {
    std::atomic<bool> failed{false};
    std::vector<std::thread> threads;
    for (DBAgent& agent : agents) {
        threads.emplace_back([&] {
            try {
                work(agent);
            } catch (const std::exception& error) {
                std::fprintf(stderr, "%s\n", error.what());
                failed = true;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    if (failed) {
        throw std::runtime_error("a query failed");
    }
}

struct Medians {
    double serial;
    double concurrent;
};

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Seconds until all have done `work`: one after the other, and side by side.
template <typename Work>
Medians Compare(std::vector<DBAgent>& agents, const Work& work) {
    constexpr int kRounds = 9;
    std::vector<double> seconds[2];
    for (int round = 0; round < kRounds; ++round) {
        for (const bool allow : {false, true}) {
            DBAgent::AllowConcurrentExchanges(allow);
            seconds[allow ? 1 : 0].push_back(
                Samples::Of(1, [&] { InParallel(agents, work); }).Least());
        }
    }
    return {Median(seconds[0]), Median(seconds[1])};
}

void MeasureWaiting(const QxdbServer& server) {
    for (const std::size_t count : {1, 2, 4, 8}) {
        std::vector<DBAgent> agents(count);
        for (DBAgent& agent : agents) {
            LogIn(agent, server, {}, L"pg");
        }
        const Medians waiting =
            Compare(agents, [](DBAgent& agent) { Ask(agent, L"SELECT pg_sleep(0.5)"); });
        std::printf("%zu agents, half a second of waiting each: %.2f s, %.2f s\n", count,
                    waiting.serial, waiting.concurrent);
    }
}

void MeasureBusy(const QxdbServer& server, std::vector<DBAgent>& agents) {
    for (DBAgent& agent : agents) {
        LogIn(agent, server);
    }
    const Medians busy = Compare(agents, [](DBAgent& agent) {
        Ask(agent,
            L"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
            L"WHERE i < 1000000) SELECT count(*) FROM n");
    });
    std::printf("4 agents, a busy statement each: %.2f s, %.2f s\n", busy.serial, busy.concurrent);
}

void MeasureSmall(const char* how, std::vector<DBAgent>& agents, int queries) {
    const Medians small = Compare(agents, [queries](DBAgent& agent) {
        for (int i = 0; i < queries; ++i) {
            Ask(agent, L"SELECT 1");
        }
    });
    const auto all = static_cast<double>(agents.size()) * queries;
    std::printf("4 agents, small queries a second, %s: %.0f, %.0f\n", how, all / small.serial,
                all / small.concurrent);
}

void Run(const std::string& program) {
    const PostgresServer postgres;
    Certificates certificates;
    const CertificateFiles files = certificates.Server();
    const QxdbServer server(
        program, {"--database", "pg=" + DatabaseUrl("postgresql", postgres), "--tls-certificate",
                  files.certificate, "--tls-key", files.key});
    MeasureWaiting(server);
    std::vector<DBAgent> agents(4);
    MeasureBusy(server, agents);
    MeasureSmall("a key derived for each frame", agents, 100);
    for (DBAgent& agent : agents) {
        agent.SetTls(certificates.Info());
    }
    MeasureSmall("TLS", agents, 1000);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s QXDBSERVER\n", argv[0]);
        return 2;
    }
    try {
        Run(argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_concurrent_exchanges: %s\n", error.what());
        return 1;
    }
    return 0;
}
