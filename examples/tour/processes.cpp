#include "processes.h"

#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>

#include <Poco/Exception.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <Poco/Thread.h>

#include <qxdb/QXValue.h>

namespace tour {

class Child {
  public:
    enum class Ending { AtRequest, AtOnce };

    Child(const std::string& program, const Poco::Process::Args& arguments, Ending ending)
        : handle_(Poco::Process::launch(program, arguments, nullptr, &said_, &said_)),
          ending_(ending) {}
    ~Child() { End(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    bool Running() const { return Poco::Process::isRunning(handle_.id()); }

    void End() {
        if (ended_) {
            return;
        }
        ended_ = true;
        try {
            // A request is SIGINT, which a program without a handler ignores when the shell that
            // started the tour in the background does.
            ending_ == Ending::AtRequest ? Poco::Process::requestTermination(handle_.id())
                                         : Poco::Process::kill(handle_.id());
            handle_.wait();
        } catch (const Poco::Exception&) {  // it has ended already
        }
    }

    /// Ends the program and gives what it logged.
    std::string LastWords() {
        End();
        Poco::PipeInputStream in(said_);
        return {std::istreambuf_iterator<char>(in), {}};
    }

  private:
    Poco::Pipe
        said_;  ///< takes the few lines that a program logs, so that they don't mix with ours
    Poco::ProcessHandle handle_;
    Ending ending_;
    bool ended_ = false;
};

namespace {

constexpr int kPollMillis = 10;
constexpr int kPatience = 1000;  ///< polls

/// Waits until `ready` says so; throws when the child ends first or time runs out.
void Await(Child& child, const std::string& name, const std::function<bool()>& ready) {
    for (int poll = 0; poll < kPatience && child.Running(); ++poll) {
        if (ready()) {
            return;
        }
        Poco::Thread::sleep(kPollMillis);
    }
    throw std::runtime_error(name + " did not start: " + child.LastWords());
}

void AddUser(const std::string& program, const std::string& workDir, const std::string& user,
             const std::string& password) {
    Poco::Pipe in;
    auto handle = Poco::Process::launch(program, {"user", "add", "--data", workDir, user}, &in,
                                        nullptr, nullptr);
    {
        Poco::PipeOutputStream stream(in);
        stream << password << "\n";
    }
    if (handle.wait() != 0) {
        throw std::runtime_error("qxdbserver user add failed");
    }
}

}  // namespace

Server::Server(const std::string& program, const std::string& workDir, const std::string& user,
               const std::string& password)
    : workDir_(workDir) {
    AddUser(program, workDir, user, password);
    auto init =
        Poco::Process::launch(program, {"tls", "init", "--data", workDir, "--host", "127.0.0.1"},
                              nullptr, nullptr, nullptr);
    if (init.wait() != 0) {
        throw std::runtime_error("qxdbserver tls init failed");
    }
    const std::string portFile = workDir + "/port";
    child_ =
        std::make_unique<Child>(program,
                                Poco::Process::Args{"--data", workDir, "--listen", "127.0.0.1:0",
                                                    "--port-file", portFile, "--require-tls"},
                                Child::Ending::AtRequest);
    Await(*child_, "qxdbserver",
          [&] { return static_cast<bool>(std::ifstream(portFile) >> port_); });
}

Server::~Server() = default;

CQXDB::QXTlsInfo Server::Tls() const {
    CQXDB::QXTlsInfo tls;
    tls.enabled = true;
    tls.caFile = CQXDB::QXValue::TextUtf8(workDir_ + "/tls/ca.pem").ToText();
    return tls;
}

SocksProxy::SocksProxy() {
    {
        const Poco::Net::ServerSocket free(Poco::Net::SocketAddress("127.0.0.1", 0));
        port_ = free.address().port();
    }
    child_ = std::make_unique<Child>(
        "microsocks", Poco::Process::Args{"-i", "127.0.0.1", "-p", std::to_string(port_)},
        Child::Ending::AtOnce);
    Await(*child_, "microsocks", [&] {
        try {
            const Poco::Net::StreamSocket probe(Poco::Net::SocketAddress("127.0.0.1", port_));
            return true;
        } catch (const Poco::Exception&) {
            return false;
        }
    });
}

SocksProxy::~SocksProxy() = default;

CQXDB::QXProxyInfo SocksProxy::Info() const {
    CQXDB::QXProxyInfo info;
    info.kind = CQXDB::QXPROXY_SOCKS5;
    info.host = L"127.0.0.1";
    info.port = port_;
    return info;
}

}  // namespace tour
