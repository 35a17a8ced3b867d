#include "tests/server/server_program.h"

#include <cstdlib>
#include <stdexcept>

#include "tests/server/test_server.h"

namespace qxdb_test {

int RunServerProgram(const std::vector<std::string>& arguments, const std::string& input,
                     std::string& output) {
    ChildProcess::Options options;
    options.input = input;
    ChildProcess process(QXDB_SERVER_PROGRAM, arguments, options);
    const int status = process.Wait();
    output = process.Output() + process.Errors();
    return status;
}

ServerProgram::ServerProgram(const std::string& config, std::vector<std::string> arguments)
    : arguments_(std::move(arguments)) {
    std::string output;
    const std::string data = folder_.File("data");
    if (RunServerProgram({"user", "add", "ann", "--data", data}, "secret\n", output) != 0) {
        throw std::runtime_error(output);
    }
    arguments_.insert(arguments_.end(), {"--data", data, "--listen", "127.0.0.1:0", "--port-file",
                                         folder_.File("port")});
    if (!config.empty()) {
        WriteFile(folder_.Path() / "config.toml", config);
        arguments_.insert(arguments_.end(), {"--config", folder_.File("config.toml")});
    }
    Start();
}

void ServerProgram::Start() {
    std::filesystem::remove(folder_.Path() / "port");
    process_ = std::make_unique<ChildProcess>(QXDB_SERVER_PROGRAM, arguments_);
    const bool listens = Eventually(
        [&] { return std::filesystem::exists(folder_.Path() / "port") || !process_->Running(); });
    if (!listens || !process_->Running()) {
        throw std::runtime_error("the server did not start: " + process_->Errors());
    }
    port_ = static_cast<std::uint16_t>(std::atoi(ReadFile(folder_.Path() / "port").c_str()));
}

RawClient ServerProgram::LoggedIn() const {
    RawClient client = Connect();
    client.Login(L"ann", L"secret");
    return client;
}

}  // namespace qxdb_test
