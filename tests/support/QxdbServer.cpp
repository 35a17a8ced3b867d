#include "tests/support/QxdbServer.h"

#include <filesystem>
#include <stdexcept>

namespace qxdb_test {

QxdbServer::QxdbServer(std::string program, std::vector<std::string> arguments,
                       std::vector<std::string> environment,
                       const std::function<void(const std::string&)>& prepare)
    : program_(std::move(program)),
      arguments_(std::move(arguments)),
      environment_(std::move(environment)) {
    ChildProcess::Options options;
    options.input = std::string(kPassword) + "\n";
    ChildProcess add(program_, {"--data", folder_.Path().string(), "user", "add", kUser}, options);
    if (add.Wait() != 0) {
        throw std::runtime_error("qxdbserver user add: " + add.Errors());
    }
    if (prepare) {
        prepare(folder_.Path().string());
    }
    Start();
}

QxdbServer::~QxdbServer() = default;

void QxdbServer::Start() {
    const std::string portFile = folder_.File("port");
    std::filesystem::remove(portFile);
    std::vector<std::string> all = {"--data",  folder_.Path().string(), "--listen",
                                    Address(), "--port-file",           portFile};
    all.insert(all.end(), arguments_.begin(), arguments_.end());
    ChildProcess::Options options;
    options.environment = environment_;
    process_ = std::make_unique<ChildProcess>(program_, all, options);
    if (!process_->WaitUntil([&] { return std::filesystem::exists(portFile); })) {
        throw std::runtime_error("qxdbserver did not start: " + process_->Errors());
    }
    port_ = static_cast<std::uint16_t>(std::stoi(ReadFile(portFile)));
}

void QxdbServer::Stop() {
    process_->Terminate();
    process_->Wait();
}

void QxdbServer::Kill() {
    process_->Kill();
    process_->Wait();
}

}  // namespace qxdb_test
