// Attacks a server, each time a new one, and looks whether its user is served all the same.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "attacks.h"

namespace {

using namespace qxdb_attack;

constexpr std::chrono::seconds kLongestWait{8};  ///< of a user, on a machine with two busy cores

bool Try(const std::string& program, const Databases& databases, const Attack& attack) {
    Target target(program, databases);
    const std::size_t before = target.PeakMiB();
    std::printf("%s\n", attack.name.c_str());
    std::fflush(stdout);
    Victim victim(target);
    std::string stopped;
    bool through = false;
    try {
        attack.run(target);
    } catch (const BrokenThrough& error) {
        through = true;
        stopped = error.what();
    } catch (const std::exception& error) {
        stopped = error.what();
    }
    victim.Stop();
    const bool alive = target.Alive();
    const std::size_t grown = alive ? target.PeakMiB() - before : 0;
    const bool held = alive && !through && victim.Refused() == 0 && victim.Served() > 0 &&
                      victim.Longest() <= kLongestWait && grown <= kBufferedMiB + kSqliteMiB;
    std::printf(
        "    %s: %s; the user was served %d times and refused %d times, waited %lld ms at "
        "most; memory grew by %zu MiB%s\n",
        held ? "held" : "BROKEN", alive ? "the server lives" : "the server is DEAD",
        victim.Served(), victim.Refused(), static_cast<long long>(victim.Longest().count()), grown,
        stopped.empty() ? "" : ("; " + stopped).c_str());
    std::fflush(stdout);
    return held;
}

int Run(int argc, char** argv) {
    std::string server;
    std::string only;
    CLI::App app("Attacks on qxdbserver");
    app.add_option("SERVER", server, "The program qxdbserver")->required();
    app.add_option("--only", only, "Attacks whose names hold this text");
    CLI11_PARSE(app, argc, argv);
    const Databases databases;
    int tried = 0;
    int broken = 0;
    for (const std::vector<Attack>* const all :
         {&AttacksOfStrangers(), &AttacksByHandshakes(), &AttacksOfAccounts()}) {
        for (const Attack& each : *all) {
            if (each.name.find(only) != std::string::npos) {
                ++tried;
                broken += Try(server, databases, each) ? 0 : 1;
            }
        }
    }
    std::printf("%d attacks, %d broke through\n", tried, broken);
    return tried > 0 && broken == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_attack: %s\n", error.what());
        return 1;
    }
}
