// usage: bench_comparison PROGRAMS [--quick] [--kept-key-lib FOLDER] [--csv FILE] [--only NAME]...
#include <cstdio>
#include <exception>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "comparison.h"

namespace {

using namespace qxdb_bench;

struct Arguments {
    Plan plan;
    std::string csv;
    std::vector<std::string> only;
};

void Run(const Arguments& arguments) {
    Comparison comparison(arguments.plan);
    comparison.Fill();
    comparison.CheckRows();
    const bool quick = arguments.plan.quick;
    const std::vector<std::pair<std::string, std::function<void()>>> experiments = {
        {"small", [&] { comparison.SmallQuery(); }},
        {"ten", [&] { comparison.Fetch("ten"); }},
        {"noise", [&] { comparison.Fetch("noise"); }},
        {"wide", [&] { comparison.Fetch("wide"); }},
        {"insert", [&] { comparison.Insert(); }},
        {"plain", [&] { quick ? void() : comparison.PlainFrames(); }},
        {"growth", [&] { quick ? void() : comparison.Growth(); }},
        {"memory", [&] { quick ? void() : comparison.Memory(); }},
        {"processes", [&] { comparison.Processes(); }},
        {"sessions", [&] { comparison.Sessions(); }}};
    for (const auto& [name, run] : experiments) {
        const bool wanted =
            arguments.only.empty() ||
            std::find(arguments.only.begin(), arguments.only.end(), name) != arguments.only.end();
        if (wanted) {
            run();
        }
    }
    if (!arguments.csv.empty()) {
        std::ofstream(arguments.csv) << comparison.All().Csv();
    }
}

}  // namespace

int main(int argc, char** argv) {
    Arguments arguments;
    CLI::App app("Compares this system with other client libraries and their databases.");
    app.add_option("programs", arguments.plan.programs, "Folder of the built programs")->required();
    app.add_flag("--quick", arguments.plan.quick, "Few turns, small tables");
    app.add_option("--kept-key-lib", arguments.plan.keptKeyLib,
                   "Folder of an agent library that keeps the frame key");
    app.add_option("--csv", arguments.csv, "File that takes the results");
    app.add_option(
        "--only", arguments.only,
        "Experiments: small ten noise wide insert plain growth memory processes sessions");
    CLI11_PARSE(app, argc, argv);
    try {
        Run(arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_comparison: %s\n", error.what());
        return 1;
    }
    return 0;
}
