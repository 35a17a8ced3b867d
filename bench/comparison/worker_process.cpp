#include "worker_process.h"

#include <chrono>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace qxdb_bench {
namespace {

constexpr auto kPoll = std::chrono::milliseconds(2);
constexpr auto kPatience = std::chrono::minutes(5);

}  // namespace

WorkerProcess::WorkerProcess(const std::string& program, const std::vector<std::string>& side,
                             const std::vector<std::string>& environment)
    : process_(program, side, {{}, environment, {}}) {
    End();
}

std::string WorkerProcess::Ask(const std::string& job) {
    Begin(job);
    return End();
}

std::vector<double> WorkerProcess::AskNumbers(const std::string& job) {
    std::istringstream words(Ask(job));
    std::vector<double> numbers;
    for (double number = 0; words >> number;) {
        numbers.push_back(number);
    }
    return numbers;
}

void WorkerProcess::Begin(const std::string& job) {
    process_.Write(job + "\n");
}

std::string WorkerProcess::End() {
    const auto until = std::chrono::steady_clock::now() + kPatience;
    for (;;) {
        const bool running = process_.Running();
        const std::string output = process_.Output();
        const std::size_t end = output.find('\n', read_);
        if (end != std::string::npos) {
            const std::string line = output.substr(read_, end - read_);
            read_ = end + 1;
            if (line.compare(0, 5, "error") == 0) {
                throw std::runtime_error(line);
            }
            return line;
        }
        if (!running || std::chrono::steady_clock::now() > until) {
            throw std::runtime_error("a worker gives no answer: " + process_.Errors());
        }
        std::this_thread::sleep_for(kPoll);
    }
}

}  // namespace qxdb_bench
