#include "tests/support/ChildProcess.h"

#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>

#include <Poco/Exception.h>
#include <Poco/Pipe.h>
#include <Poco/Process.h>
#include <ace/OS_NS_signal.h>

#include "tests/support/Platform.h"

namespace qxdb_test {
namespace {

constexpr std::chrono::milliseconds kPollInterval{10};

struct Launch {
    std::string program;
    std::vector<std::string> arguments;
};

/// Has the program killed when the thread that starts it is gone, so that a test that is killed
/// leaves nothing behind. Windows has no such wish, but words that need quotes.
Launch EndingWithItsStarter(Launch launch) {
    if (!kOnWindows) {
        std::vector<std::string>& words = launch.arguments;
        words.insert(words.begin(), {"--pdeathsig", "KILL", "--", launch.program});
        launch.program = "setpriv";
        return launch;
    }
    for (std::string& each : launch.arguments) {
        each = each.empty() ? "\"\"" : each;  // POCO would leave an empty word out
    }
    return launch;
}

/// As long as it lives, writing to a program that has ended is an exception and no signal.
class NoPipeSignal {
  public:
    NoPipeSignal() {
        ACE_SIGACTION ignore{};
        ignore.sa_handler = SIG_IGN;
        ACE_OS::sigaction(SIGPIPE, &ignore, &before_);
    }
    ~NoPipeSignal() { ACE_OS::sigaction(SIGPIPE, &before_, nullptr); }
    NoPipeSignal(const NoPipeSignal&) = delete;
    NoPipeSignal& operator=(const NoPipeSignal&) = delete;

  private:
    ACE_SIGACTION before_{};
};

Poco::Process::Env EnvironmentOf(const std::vector<std::string>& pairs) {
    Poco::Process::Env environment;
    for (const std::string& pair : pairs) {
        const std::size_t equals = pair.find('=');
        environment[pair.substr(0, equals)] = pair.substr(equals + 1);
    }
    return environment;
}

/// What one pipe has brought, read by a thread of its own.
class Collector {
  public:
    Collector() = default;
    Collector(const Collector&) = delete;
    Collector& operator=(const Collector&) = delete;
    Poco::Pipe& Pipe() noexcept { return pipe_; }
    void Start() {
        thread_ = std::thread([this] { Read(); });
    }
    ~Collector() { Join(); }
    void Join() {
        if (thread_.joinable()) {
            thread_.join();
        }
    }
    std::string Text() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return text_;
    }

  private:
    void Read() {
        char buffer[4096];
        try {
            while (const int count = pipe_.readBytes(buffer, sizeof buffer)) {
                const std::lock_guard<std::mutex> lock(mutex_);
                text_.append(buffer, static_cast<std::size_t>(count));
            }
        } catch (const Poco::Exception&) {
            // The other end is gone, which ends the text.
        }
    }

    Poco::Pipe pipe_;
    mutable std::mutex mutex_;
    std::string text_;
    std::thread thread_;
};

}  // namespace

struct ChildProcess::Impl {
    Collector output;
    Collector errors;
    Poco::Pipe input;  // gone before they wait for the program
    std::optional<Poco::ProcessHandle> handle;
    std::optional<int> status;

    /// True once the program has ended, and all that it wrote has been read. Only this may ask for
    /// the status, which exists once.
    bool Ended() {
        if (!status) {
            const int code = handle->tryWait();
            if (code == -1) {
                return false;
            }
            status = code >= 256 ? code - 128 : code;
            output.Join();
            errors.Join();
        }
        return true;
    }
};

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                           const Options& options)
    : impl_(std::make_unique<Impl>()) {
    const Launch launch = EndingWithItsStarter({program, arguments});
    impl_->handle.emplace(Poco::Process::launch(
        launch.program, launch.arguments, options.workingDirectory, &impl_->input,
        &impl_->output.Pipe(), &impl_->errors.Pipe(), EnvironmentOf(options.environment)));
    impl_->output.Start();
    impl_->errors.Start();
    if (!options.input.empty()) {
        try {
            Write(options.input);
        } catch (const Poco::Exception&) {
            // It has ended without reading all, which its status tells.
        }
        CloseInput();
    }
}

ChildProcess::~ChildProcess() {
    try {
        CloseInput();
        Terminate();
        Wait(std::chrono::seconds(10));
    } catch (const std::exception&) {
        KillForGood();
    }
}

void ChildProcess::KillForGood() noexcept {
    try {
        Kill();
        Wait(std::chrono::seconds(10));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "a child process is left behind: %s\n", error.what());
    }
}

int ChildProcess::Pid() const {
    return static_cast<int>(impl_->handle->id());
}

bool ChildProcess::Running() {
    return !impl_->Ended();
}

void ChildProcess::Write(const std::string& bytes) {
    const NoPipeSignal quiet;
    std::size_t written = 0;
    while (written < bytes.size()) {
        written += static_cast<std::size_t>(impl_->input.writeBytes(
            bytes.data() + written, static_cast<int>(bytes.size() - written)));
    }
}

void ChildProcess::CloseInput() {
    impl_->input.close(Poco::Pipe::CLOSE_WRITE);
}

void ChildProcess::Terminate() {
    if (Running() && ACE_OS::kill(static_cast<pid_t>(Pid()), SIGTERM) != 0) {
        Kill();
    }
}

void ChildProcess::Kill() {
    if (Running()) {
        // By number, since killing by handle closes the handle on Windows, and the status with it.
        Poco::Process::kill(impl_->handle->id());
    }
}

int ChildProcess::Wait(std::chrono::seconds limit) {
    if (!WaitUntil([this] { return impl_->Ended(); }, limit)) {
        throw std::runtime_error("process " + std::to_string(Pid()) + " does not end");
    }
    return *impl_->status;
}

std::string ChildProcess::Output() const {
    return impl_->output.Text();
}

std::string ChildProcess::Errors() const {
    return impl_->errors.Text();
}

bool ChildProcess::WaitUntil(const std::function<bool()>& ready, std::chrono::seconds limit) const {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        const bool ended = impl_->Ended();
        if (ready()) {
            return true;
        }
        if (ended || std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(kPollInterval);
    }
}

bool ChildProcess::WaitForText(const std::string& text, std::chrono::seconds limit) const {
    return WaitUntil(
        [&] {
            return Output().find(text) != std::string::npos ||
                   Errors().find(text) != std::string::npos;
        },
        limit);
}

std::string RunToSuccess(const std::vector<std::string>& words) {
    ChildProcess child(words[0], {words.begin() + 1, words.end()});
    child.CloseInput();
    const int status = child.Wait(std::chrono::seconds(120));
    std::string output = child.Output() + child.Errors();
    if (status != 0) {
        throw std::runtime_error(words[0] + " failed: " + output);
    }
    return output;
}

}  // namespace qxdb_test
