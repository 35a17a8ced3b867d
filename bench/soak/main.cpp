// Keeps a server under load while clients, proxies and the server itself are killed, and counts
// what is there in the end; or counts what many sessions leave behind in a server.
#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>

#include "clients.h"
#include "sessions.h"
#include "storm.h"

namespace {

using namespace qxdb_soak;

int Run(int argc, char** argv) {
    Plan plan;
    ClientTask task;
    task.client = -1;
    CLI::App app("Load, deaths and leftovers of qxdbserver");
    app.add_option("SERVER", plan.server, "The program qxdbserver")->required();
    app.add_option("--database", plan.database, "sqlite, postgresql or mariadb")
        ->check(CLI::IsMember({"sqlite", "postgresql", "mariadb"}))
        ->capture_default_str();
    app.add_option("--seconds", plan.seconds, "Length of the run")->capture_default_str();
    app.add_option("--kills", plan.kills, "Deaths of the server")->capture_default_str();
    app.add_option("--busy", plan.busy, "Working clients")->capture_default_str();
    app.add_option("--idle", plan.idle, "Idle sessions")->capture_default_str();
    app.add_option("--seed", plan.seed, "Of the order of events")->capture_default_str();
    app.add_option("--sessions", plan.sessions,
                   "Count what so many sessions leave in the server instead");
    const std::string ownUse;  // no help text: how the program starts its clients
    app.add_option("--client", task.client)->group(ownUse);
    app.add_option("--life", task.life)->group(ownUse);
    app.add_option("--folder", task.folder)->group(ownUse);
    app.add_option("--port", task.port)->group(ownUse);
    CLI11_PARSE(app, argc, argv);
    plan.program = argv[0];
    if (task.client >= 0) {
        plan.idle == 0 ? WorkUntilStopped(task) : IdleUntilStopped(task, plan.idle);
        return 0;
    }
    const bool good = plan.sessions > 0 ? CountLeftovers(plan) : RunStorm(plan);
    std::printf("%s\n", good ? "good" : "BAD");
    return good ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_soak: %s\n", error.what());
        return 1;
    }
}
