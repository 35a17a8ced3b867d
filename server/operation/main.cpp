#include <cstdlib>
#include <exception>
#include <iostream>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <ace/INET_Addr.h>
#include <ace/Init_ACE.h>

#include "platform/console/core_dumps.h"
#include "platform/console/stop_signals.h"
#include "platform/files/access.h"
#include "server/log.h"
#include "server/operation/command_line.h"
#include "server/operation/port_file.h"
#include "server/operation/server.h"
#include "server/operation/tls_init.h"
#include "server/operation/user_commands.h"
#include "server/server_error.h"

namespace {

using namespace CQXSERVER;
namespace console = CQXBASE::platform::console;

/// The server that signals reach, as long as there is one.
class Target {
  public:
    void Set(operation::Server* server) {
        const std::lock_guard<std::mutex> lock(mutex_);
        server_ = server;
        if (server_ != nullptr && std::exchange(reloadsLater_, false)) {
            server_->ReloadTls();
        }
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
    /// New files for new connections; those that are open keep what they have.
    void Reload() {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (server_ == nullptr) {
            reloadsLater_ = true;  // it may have read the old ones already
        } else if (!stopped_) {
            server_->ReloadTls();
        }
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
    bool reloadsLater_ = false;
};

/// Makes a server the target until it ends, however it does.
class Reached {
  public:
    Reached(Target& target, operation::Server& server) : target_(target) { target_.Set(&server); }
    ~Reached() { target_.Set(nullptr); }
    Reached(const Reached&) = delete;
    Reached& operator=(const Reached&) = delete;

  private:
    Target& target_;
};

void Warn(const std::vector<std::string>& warnings) {
    for (const std::string& each : warnings) {
        LogWarning(each);
    }
}

bool IsLoopback(const std::string& address) {
    constexpr unsigned kLoopbackNet = 127;
    const ACE_INET_Addr parsed(address.c_str());
    const bool mapped = parsed.is_ipv4_mapped_ipv6();
    return parsed.is_loopback() || (mapped && parsed.get_ip_address() >> 24 == kLoopbackNet);
}

void WarnOfAccess(const ServerOptions& options, std::size_t accounts) {
    if (accounts == 0) {
        LogWarning("there are no accounts, so nobody can log in: 'qxdbserver user add' makes one");
    }
    if (!options.tls.required && !IsLoopback(options.listen)) {
        LogWarning("other machines can reach ", options.listen,
                   ": what they send without TLS can be read and changed on its way; require_tls "
                   "refuses it");
    }
}

int Serve(const operation::CommandLine& command) {
    const ServerOptions& options = command.options;
    StartLog(options.logLevel);
    Target target;
    const console::StopSignals signals([&] { target.Stop(); }, [&] { target.Report(); },
                                       [&] { target.Reload(); });
    operation::Server server(options);
    Warn(command.warnings);
    const std::size_t accounts = server.Accounts().List().size();
    // Before the port file, which tells others that signals are answered from now on.
    const Reached reached(target, server);
    const operation::PortFile portFile(options.portFile, server.Port());
    LogAt(Poco::Message::PRIO_NOTICE, "listening on ", options.listen, ", port ", server.Port(),
          "; accounts: ", accounts);
    WarnOfAccess(options, accounts);
    const std::size_t unfinished = server.Run();
    if (unfinished > 0) {
        // Their threads can't be told to end; their transactions are rolled back.
        LogError("stopped with ", unfinished, " requests unfinished");
        std::_Exit(EXIT_FAILURE);
    }
    LogAt(Poco::Message::PRIO_NOTICE, "stopped");
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    int status = EXIT_SUCCESS;
    try {
        CQXBASE::platform::files::NewFilesForOwnerOnly();
        console::IgnoreBrokenPipes();
        ACE::init();
        const auto command = operation::ParseCommandLine(argc, argv, status);
        if (!command) {
            return status;
        }
        if (!command->allowCoreDumps) {
            console::ForbidCoreDumps();
        }
        if (command->action == operation::Action::Serve) {
            return Serve(*command);
        }
        StartLog("warning", LogStyle::Command);
        Warn(command->warnings);
        if (command->action == operation::Action::InitTls) {
            operation::InitTls(*command, std::cout);
        } else {
            operation::RunUserCommand(*command);
        }
    } catch (const std::exception& e) {
        std::cerr << "qxdbserver: " << e.what() << '\n';
        status = EXIT_FAILURE;
    }
    return status;
}
