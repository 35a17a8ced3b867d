#include <cstdlib>
#include <exception>
#include <iostream>
#include <mutex>

#include <ace/Init_ACE.h>

#include "platform/console/stop_signals.h"
#include "server/log.h"
#include "server/operation/command_line.h"
#include "server/operation/port_file.h"
#include "server/operation/server.h"
#include "server/operation/user_commands.h"
#include "server/server_error.h"

namespace {

using namespace CQXSERVER;

/// The server that signals reach, as long as there is one.
class Target {
  public:
    void Set(operation::Server* server) {
        const std::lock_guard<std::mutex> lock(mutex_);
        server_ = server;
    }
    /// Twice means at once, and so does a stop before there is anything to finish.
    void Stop() {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (server_ == nullptr || stopped_) {
            std::_Exit(server_ == nullptr ? EXIT_SUCCESS : EXIT_FAILURE);
        }
        stopped_ = true;
        server_->Stop();
    }
    void Report() {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (server_ != nullptr) {
            server_->LogStatistics();
        }
    }

  private:
    std::mutex mutex_;
    operation::Server* server_ = nullptr;
    bool stopped_ = false;
};

int Serve(const ServerOptions& options) {
    StartLog(options.logLevel);
    Target target;
    const CQXBASE::platform::console::StopSignals signals([&] { target.Stop(); },
                                                          [&] { target.Report(); });
    operation::Server server(options);
    const operation::PortFile portFile(options.portFile, server.Port());
    target.Set(&server);
    LogAt(Poco::Message::PRIO_NOTICE, "listening on ", options.listen, ", port ", server.Port());
    const std::size_t unfinished = server.Run();
    if (unfinished > 0) {
        // Their threads can't be told to end; their transactions are rolled back.
        LogError("stopped with ", unfinished, " requests unfinished");
        std::_Exit(EXIT_FAILURE);
    }
    target.Set(nullptr);
    LogAt(Poco::Message::PRIO_NOTICE, "stopped");
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    int status = EXIT_SUCCESS;
    try {
        ACE::init();
        const auto command = operation::ParseCommandLine(argc, argv, status);
        if (command && command->action == operation::Action::Serve) {
            status = Serve(command->options);
        } else if (command) {
            operation::RunUserCommand(*command);
        }
    } catch (const std::exception& e) {
        std::cerr << "qxdbserver: " << e.what() << '\n';
        status = EXIT_FAILURE;
    }
    return status;
}
