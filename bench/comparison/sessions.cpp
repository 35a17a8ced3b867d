// usage: bench_sessions PORT PID USER PASSWORD SESSIONS SECONDS
// Small queries from many sessions at once, each on a thread and a connection of its own. The frame
// key is derived once for all of them, so that this program leaves the processors to the server.
// Prints the number of requests a second, the median and 99th percentile of their seconds, and the
// user and system seconds that the server, process PID, took for each.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "messages/type_codes.h"
#include "tests/server/raw_client.h"
#include "tests/support/RemoteAgent.h"

namespace {

using Clock = std::chrono::steady_clock;
using qxdb_test::RawClient;
using qxdb_test::Wide;

/// User and system seconds of a process so far.
std::pair<double, double> ProcessorSeconds(const std::string& pid) {
    std::ifstream file("/proc/" + pid + "/stat");
    std::string line;
    std::getline(file, line);
    std::istringstream fields(line.substr(line.rfind(')') + 2));
    std::string skipped;
    for (int i = 0; i < 11; ++i) {
        fields >> skipped;
    }
    double user = 0;
    double system = 0;
    fields >> user >> system;
    const auto ticks = static_cast<double>(sysconf(_SC_CLK_TCK));
    return {user / ticks, system / ticks};
}

/// Asks until `end`; gives the seconds of each request.
std::vector<double> Ask(RawClient& client, Clock::time_point end) {
    CQXDB::QXCommand command = client.Command(L"SELECT a, s FROM ten WHERE id = ?");
    std::vector<double> seconds;
    for (std::int64_t id = 1; Clock::now() < end; id = id % 100000 + 1) {
        command.ClearParams();
        command.AddParam(CQXDB::QXValue::Int64(id));
        const Clock::time_point start = Clock::now();
        const qxdb_test::Reply reply = client.Call(CQXBASE::kQuery, command);
        if (reply.Error() != 0 || reply.Recordset().RowCount() != 1) {
            std::fputs("a request failed\n", stderr);
            std::exit(1);
        }
        seconds.push_back(std::chrono::duration<double>(Clock::now() - start).count());
    }
    return seconds;
}

void Run(char** argv) {
    const auto sessions = static_cast<std::size_t>(std::atoi(argv[5]));
    const double duration = std::atof(argv[6]);
    std::vector<RawClient> clients;
    for (std::size_t i = 0; i < sessions; ++i) {
        clients.emplace_back(static_cast<std::uint16_t>(std::atoi(argv[1])));
        clients.back().Login(Wide(argv[3]), Wide(argv[4]));
    }
    const auto [user, system] = ProcessorSeconds(argv[2]);
    const Clock::time_point end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                     std::chrono::duration<double>(duration));
    std::vector<std::vector<double>> each(sessions);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < sessions; ++i) {
        threads.emplace_back([&, i] { each[i] = Ask(clients[i], end); });
    }
    std::vector<double> all;
    for (std::size_t i = 0; i < sessions; ++i) {
        threads[i].join();
        all.insert(all.end(), each[i].begin(), each[i].end());
    }
    const auto [userAfter, systemAfter] = ProcessorSeconds(argv[2]);
    std::sort(all.begin(), all.end());
    const auto count = static_cast<double>(all.size());
    std::printf("%.1f %.9f %.9f %.9f %.9f\n", count / duration, all[all.size() / 2],
                all[all.size() * 99 / 100], (userAfter - user) / count,
                (systemAfter - system) / count);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 7) {
        std::fputs("usage: bench_sessions PORT PID USER PASSWORD SESSIONS SECONDS\n", stderr);
        return 2;
    }
    try {
        Run(argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_sessions: %s\n", error.what());
        return 1;
    }
    return 0;
}
