#include "comparison.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "tables.h"

namespace qxdb_bench {
namespace {

using Words = std::vector<std::string>;

const char* const kRemote = "qxdb remote";
const char* const kRemoteKept = "qxdb remote (key kept)";
const char* const kLocal = "qxdb local SQLite";
const char* const kLocalPg = "qxdb local PostgreSQL";
const char* const kPqTls = "libpq TLS";
const char* const kPqPlain = "libpq plain";
const char* const kMariaTls = "MariaDB TLS";
const char* const kMariaPlain = "MariaDB plain";
const char* const kFirebird = "Firebird";
const char* const kSqlite = "SQLite in process";

/// VmHWM or VmRSS of a process, in bytes.
double StatusBytes(int pid, const std::string& name) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, name.size() + 1, name + ":") == 0) {
            return std::stod(line.substr(name.size() + 1)) * 1024;
        }
    }
    throw std::runtime_error("no " + name + " of process " + std::to_string(pid));
}

void Say(const std::string& what) {
    std::printf("\n== %s\n", what.c_str());
    std::fflush(stdout);
}

}  // namespace

Comparison::Comparison(const Plan& plan) : plan_(plan), servers_(plan.programs + "/qxdbserver") {
    const std::vector<std::pair<const char*, Words>> all = {
        {kRemote, servers_.QxdbWords()},
        {kPqTls, servers_.PostgreSqlWords(true)},
        {kMariaTls, servers_.MariaDbWords(true)},
        {kFirebird, servers_.FirebirdWords()},
        {kPqPlain, servers_.PostgreSqlWords(false)},
        {kMariaPlain, servers_.MariaDbWords(false)},
        {kSqlite, servers_.SqliteWords()},
        {kLocal, servers_.QxdbSqliteWords()},
        {kLocalPg, servers_.QxdbPostgreSqlWords()}};
    for (const auto& [name, words] : all) {
        sides_.push_back({name, Start(words)});
    }
    if (!plan_.keptKeyLib.empty()) {
        sides_.push_back({kRemoteKept, Start(servers_.QxdbWords(), KeptKey())});
    }
}

std::unique_ptr<WorkerProcess> Comparison::Start(const Words& side,
                                                 const Words& environment) const {
    return std::make_unique<WorkerProcess>(plan_.programs + "/bench_worker", side, environment);
}

std::vector<std::string> Comparison::KeptKey() const {
    return {"LD_LIBRARY_PATH=" + plan_.keptKeyLib};
}

WorkerProcess& Comparison::At(const std::string& name) {
    for (const Named& side : sides_) {
        if (side.name == name) {
            return *side.worker;
        }
    }
    throw std::runtime_error("no side " + name);
}

void Comparison::InTurn(int turns, const Words& names,
                        const std::function<void(const std::string&, WorkerProcess&)>& step) {
    for (int turn = 0; turn < turns; ++turn) {
        for (const std::string& name : names) {
            step(name, At(name));
        }
    }
}

void Comparison::Fill() {
    Say("Filling the tables");
    // The other sides work on the same databases.
    for (const char* const name : {kRemote, kPqPlain, kMariaPlain, kFirebird, kSqlite}) {
        for (const char* const table : {"ten", "sink", "noise", "wide"}) {
            At(name).Ask(std::string("create ") + table);
            if (std::string(table) != "sink") {
                At(name).Ask(std::string("fill ") + table);
            }
        }
    }
    for (const char* const name : {kRemote, kPqPlain}) {
        for (const char* const table : {"large", "big"}) {
            if (!plan_.quick) {
                At(name).Ask(std::string("create ") + table);
                At(name).Ask(std::string("fill ") + table);
            }
        }
    }
    At(kPqPlain).Ask("run VACUUM ANALYZE");
}

void Comparison::CheckRows() {
    for (const char* const table : {"ten", "noise", "wide"}) {
        std::string first;
        for (const Named& side : sides_) {
            const std::string digest = side.worker->Ask(std::string("digest ") + table + " 0");
            first = first.empty() ? digest : first;
            if (digest != first) {
                throw std::runtime_error(side.name + " delivers other rows of " + table);
            }
        }
        std::printf("all sides deliver the same rows of %s: %s\n", table, first.c_str());
    }
}

void Comparison::SmallQuery() {
    Words names = {kRemote, kPqTls, kMariaTls, kFirebird, kPqPlain, kMariaPlain, kSqlite, kLocal};
    if (!plan_.keptKeyLib.empty()) {
        names.insert(names.begin() + 1, kRemoteKept);
    }
    const std::string& experiment = "small";
    int id = 0;
    InTurn(Turns(12), names, [&](const std::string& name, WorkerProcess& worker) {
        id = id % 90000 + 777;
        for (const double seconds : worker.AskNumbers("small " + std::to_string(id) + " 50")) {
            results_.Add(experiment, name, 0, seconds);
        }
        if (name == kRemote) {
            const std::vector<double> parts = worker.AskNumbers("parts 50");
            results_.Add(experiment, "two derivations + cipher + bare echo", 0, parts.at(0));
            results_.Add(experiment, "bare echo", 0, parts.at(1));
            results_.Add(experiment, "the same work in the order of a request", 0, parts.at(2));
        }
    });
    results_.Print(experiment, "One row by key", 1e6, "us");
}

void Comparison::Fetch(const std::string& table) {
    const std::string experiment = "fetch " + table;
    InTurn(
        Turns(9),
        {kRemote, kPqTls, kMariaTls, kFirebird, kPqPlain, kMariaPlain, kSqlite, kLocal, kLocalPg},
        [&](const std::string& name, WorkerProcess& worker) {
            results_.Add(experiment, name, 0, worker.AskNumber("fetch " + table + " 0"));
        });
    results_.Print(experiment,
                   std::to_string(Table::Named(table).Rows()) + " rows of table " + table, 1e3,
                   "ms");
}

void Comparison::Insert() {
    const std::string& experiment = "insert";
    const auto check = [&](const std::string& name, WorkerProcess& worker) {
        const std::string digest = worker.Ask("digest sink 0");
        static const std::string first = digest;
        if (digest != first) {
            throw std::runtime_error(name + " does not hold the rows that were inserted");
        }
    };
    InTurn(
        Turns(9),
        {kRemote, kPqTls, kMariaTls, kFirebird, kPqPlain, kMariaPlain, kSqlite, kLocal, kLocalPg},
        [&](const std::string& name, WorkerProcess& worker) {
            results_.Add(experiment, name, 0, worker.AskNumber("insert first"));
            check(name, worker);
            const char* const second = name == kPqTls                      ? " pipeline"
                                       : name == kRemote || name == kLocal ? " (list ready)"
                                                                           : nullptr;
            if (second != nullptr) {
                results_.Add(experiment, name + second, 0, worker.AskNumber("insert other"));
                check(name, worker);
            }
        });
    results_.Print(experiment, "10,000 inserts of 10 values in one transaction", 1e3, "ms");
}

void Comparison::PlainFrames() {
    const std::string& experiment = "plain frame";
    InTurn(Turns(5), {kRemote, kPqPlain, kPqTls},
           [&](const std::string& name, WorkerProcess& worker) {
               results_.Add(experiment, name, 0, worker.AskNumber("fetch big 0"));
           });
    results_.Print(experiment, "1,000,000 rows of noise, a body beyond 40 MiB", 1e3, "ms");
}

void Comparison::Growth() {
    const std::string& experiment = "growth";
    for (const int rows : {1000, 3000, 10000, 30000, 100000, 300000, 1000000}) {
        InTurn(Turns(rows > 100000 ? 3 : 7), {kRemote, kPqTls},
               [&](const std::string& name, WorkerProcess& worker) {
                   results_.Add(experiment, name, rows,
                                worker.AskNumber("fetch large " + std::to_string(rows)));
               });
    }
    results_.Print(experiment, "Rows of 10 columns", 1e3, "ms");
}

void Comparison::Memory() {
    const std::string& experiment = "memory";
    for (const int rows : {1000, 10000, 100000, 300000, 1000000}) {
        qxdb_test::QxdbServer server(plan_.programs + "/qxdbserver");
        Words words = servers_.QxdbWords();
        words[2] = std::to_string(server.Port());
        const auto worker = Start(words);
        worker->Ask("create large");
        worker->Ask("fill large " + std::to_string(rows));
        worker->Ask("fetch large 10");
        const double before = StatusBytes(server.Pid(), "VmRSS");
        std::ofstream("/proc/" + std::to_string(server.Pid()) + "/clear_refs") << 5;
        const auto client = Start(words);
        client->Ask("fetch large 10");
        const std::vector<double> bytes =
            client->AskNumbers("memory large " + std::to_string(rows));
        results_.Add(experiment, "decoded result", rows, bytes.at(1));
        results_.Add(experiment, "client", rows, bytes.at(0));
        results_.Add(experiment, "server", rows, StatusBytes(server.Pid(), "VmHWM") - before);
    }
    results_.Print(experiment, "Peak memory of one fetch", 1.0 / 1048576, "MiB");
}

void Comparison::RunProcesses(const std::string& name, const Words& side, int count,
                              const Words& environment) {
    const double seconds = plan_.quick ? 0.5 : 2;
    std::vector<std::unique_ptr<WorkerProcess>> workers;
    for (int i = 0; i < count; ++i) {
        workers.push_back(Start(side, environment));
        workers.back()->Ask("small 1 1");
    }
    for (std::size_t i = 0; i < workers.size(); ++i) {
        workers[i]->Begin("load " + std::to_string(seconds) + " " + std::to_string(1000 + i));
    }
    double total = 0;
    for (const auto& worker : workers) {
        total += std::stod(worker->End());
    }
    results_.Add("processes", name, count, total / seconds);
}

void Comparison::Processes() {
    for (const int count : {1, 2, 4, 8, 16}) {
        RunProcesses(kRemote, servers_.QxdbWords(), count);
        if (!plan_.keptKeyLib.empty()) {
            RunProcesses(kRemoteKept, servers_.QxdbWords(), count, KeptKey());
        }
        RunProcesses(kPqTls, servers_.PostgreSqlWords(true), count);
        RunProcesses(kMariaTls, servers_.MariaDbWords(true), count);
    }
    results_.Print("processes", "Small queries a second from several client processes", 1, "/s");
}

void Comparison::Sessions() {
    const qxdb_test::QxdbServer& server = servers_.Qxdb();
    for (const int count : {1, 2, 4, 8, 16, 32, 64}) {
        const std::string seconds = plan_.quick ? "0.5" : "2";
        const std::string output = qxdb_test::RunToSuccess(
            {plan_.programs + "/bench_sessions", std::to_string(server.Port()),
             std::to_string(server.Pid()), qxdb_test::QxdbServer::kUser,
             qxdb_test::QxdbServer::kPassword, std::to_string(count), seconds});
        double rate = 0;
        double median = 0;
        double slow = 0;
        double user = 0;
        double system = 0;
        std::istringstream(output) >> rate >> median >> slow >> user >> system;
        results_.Add("sessions", "requests a second", count, rate);
        results_.Add("sessions latency", "median", count, median);
        results_.Add("sessions latency", "99th percentile", count, slow);
        results_.Add("sessions cost", "user", count, user);
        results_.Add("sessions cost", "system", count, system);
    }
    results_.Print("sessions", "Small requests a second by sessions", 1, "/s");
    results_.Print("sessions latency", "Their time", 1e6, "us");
    results_.Print("sessions cost", "The server's processor time for each", 1e6, "us");
}

}  // namespace qxdb_bench
