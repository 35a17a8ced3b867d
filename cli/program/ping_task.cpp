#include <chrono>
#include <iomanip>
#include <iostream>

#include "cli/program/tasks.h"

namespace CQXCLI::program {

ExitStatus RunPing(const Options& options) {
    Session session(options.connection);
    const auto start = std::chrono::steady_clock::now();
    const Answer answer = session.Probe();
    const std::chrono::duration<double, std::milli> passed =
        std::chrono::steady_clock::now() - start;
    const std::string& server = options.connection.server;
    const std::string whom = server.empty() ? "the database" : server;
    if (!answer.Ok()) {
        throw CliError(kNoConnection, whom + " does not answer: " + ErrorText(answer));
    }
    std::cout << whom << " answers: " << std::fixed << std::setprecision(3) << passed.count()
              << " ms";
    if (!server.empty()) {
        std::cout << (options.connection.tls.Wanted() ? ", with TLS" : ", without TLS");
    }
    std::cout << '\n';
    return kDone;
}

}  // namespace CQXCLI::program
