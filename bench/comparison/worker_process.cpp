#include "worker_process.h"

#include <chrono>
#include <sstream>
#include <stdexcept>

namespace qxdb_bench {
namespace {

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
    std::string output;
    std::size_t end = 0;
    const auto answered = [&] {
        output = process_.Output();
        end = output.find('\n', read_);
        return end != std::string::npos;
    };
    if (!process_.WaitUntil(answered, kPatience)) {
        throw std::runtime_error("a worker gives no answer: " + process_.Errors());
    }
    std::string line = output.substr(read_, end - read_);
    read_ = end + 1;
    if (line.compare(0, 5, "error") == 0) {
        throw std::runtime_error(line);
    }
    return line;
}

}  // namespace qxdb_bench
