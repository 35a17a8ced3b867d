// usage: bench_worker KIND ADDRESS...
// One side in a process of its own. Each line of standard input is a job, answered with one line:
//   create TABLE                    -> done
//   fill TABLE [ROWS]               -> done
//   run SQL                         -> done
//   parts COUNT                     -> seconds of a small query's mandated parts, of its echo,
//                                      and of all in order
//   digest TABLE LAST               -> rows and digest
//   fetch TABLE LAST                -> seconds
//   insert first|other              -> seconds, for kInsertRows rows into the empty table "sink"
//   small ID COUNT                  -> seconds of each
//   load SECONDS ID                 -> small queries answered in that time
//   memory TABLE LAST               -> peak memory of one fetch, decoded bytes
// A job that fails is answered with "error" and what went wrong, and ends the process.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <malloc.h>
#include <map>
#include <sstream>

#include "side.h"

namespace {

using namespace qxdb_bench;
using Clock = std::chrono::steady_clock;

double Seconds(const std::function<void()>& work) {
    const Clock::time_point start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A field of /proc/self/status, in bytes.
std::size_t StatusBytes(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, name.size() + 1, name + ":") == 0) {
            return std::stoul(line.substr(name.size() + 1)) * 1024;
        }
    }
    throw std::runtime_error("no " + name + " in /proc");
}

/// Fills a table in transactions of 10,000 rows.
std::string Fill(Side& side, std::istream& words) {
    constexpr std::int64_t kAtATime = 10000;
    std::string name;
    words >> name;
    const Table table = Table::Named(name);
    std::int64_t rows = 0;
    rows = words >> rows ? rows : table.Rows();
    for (std::int64_t id = 1; id <= rows; id += kAtATime) {
        side.Insert(table, table.Range(id, std::min(kAtATime, rows - id + 1)));
    }
    return "done";
}

std::string Create(Side& side, std::istream& words) {
    std::string table;
    words >> table;
    side.Create(Table::Named(table));
    return "done";
}

std::string RunSql(Side& side, std::istream& words) {
    std::string sql;
    std::getline(words, sql);
    side.Run(sql);
    return "done";
}

std::string Digest(Side& side, std::istream& words) {
    std::string table;
    std::int64_t last = 0;
    words >> table >> last;
    const Fetched fetched = side.Fetch(Table::Named(table), last, true);
    return std::to_string(fetched.rows) + " " + std::to_string(fetched.sum);
}

std::string Fetch(Side& side, std::istream& words) {
    std::string name;
    std::int64_t last = 0;
    words >> name >> last;
    const Table table = Table::Named(name);
    Fetched fetched;
    const double seconds = Seconds([&] { fetched = side.Fetch(table, last, false); });
    if (fetched.rows != static_cast<std::uint64_t>(last == 0 ? table.Rows() : last)) {
        throw std::runtime_error("rows are missing");
    }
    return std::to_string(seconds);
}

std::string Insert(Side& side, std::istream& words) {
    static const Table sink = Table::Named("sink");
    static const std::vector<Row> rows = sink.Range(1, kInsertRows);
    std::string way;
    words >> way;
    side.Empty(sink);
    if (way == "other") {
        side.PrepareOtherwise(sink, rows);
    }
    return std::to_string(Seconds(
        [&] { way == "first" ? side.Insert(sink, rows) : side.InsertOtherwise(sink, rows); }));
}

std::string Small(Side& side, std::istream& words) {
    std::int64_t id = 0;
    int count = 0;
    words >> id >> count;
    side.Small(id);
    std::string answer;
    for (int i = 0; i < count; ++i) {
        char text[32];
        std::snprintf(text, sizeof text, "%s%.9f", i == 0 ? "" : " ",
                      Seconds([&] { side.Small(id); }));
        answer += text;
    }
    return answer;
}

std::string Load(Side& side, std::istream& words) {
    double seconds = 0;
    std::int64_t id = 0;
    words >> seconds >> id;
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    int count = 0;
    for (; Clock::now() < end; ++count) {
        side.Small(id);
    }
    return std::to_string(count);
}

std::string Memory(Side& side, std::istream& words) {
    std::string table;
    std::int64_t last = 0;
    words >> table >> last;
    malloc_trim(0);
    const std::size_t before = StatusBytes("VmRSS");
    std::ofstream("/proc/self/clear_refs") << 5;  // the peak starts again from here
    side.Fetch(Table::Named(table), last, false);
    return std::to_string(StatusBytes("VmHWM") - before) + " " +
           std::to_string(side.DecodedBytes());
}

std::string Parts(Side& side, std::istream& words) {
    int count = 0;
    words >> count;
    const auto parts = side.SmallParts(count);
    return std::to_string(parts.mandated) + " " + std::to_string(parts.echo) + " " +
           std::to_string(parts.sequence);
}

std::string Answer(Side& side, const std::string& line) {
    using Job = std::string (*)(Side&, std::istream&);
    static const std::map<std::string, Job> jobs = {
        {"digest", Digest}, {"fetch", Fetch},   {"insert", Insert}, {"small", Small},
        {"load", Load},     {"memory", Memory}, {"create", Create}, {"fill", Fill},
        {"run", RunSql},    {"parts", Parts}};
    std::istringstream words(line);
    std::string job;
    words >> job;
    return jobs.at(job)(side, words);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const auto side = MakeSide({argv + 1, argv + argc});
        std::cout << "ready" << std::endl;
        for (std::string line; std::getline(std::cin, line);) {
            std::cout << Answer(*side, line) << std::endl;
        }
    } catch (const std::exception& error) {
        std::cout << "error " << error.what() << std::endl;
        return 1;
    }
    return 0;
}
