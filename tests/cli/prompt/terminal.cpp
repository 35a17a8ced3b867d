#include "tests/cli/prompt/terminal.h"

#include <array>
#include <csignal>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qxdb_test {
namespace {

constexpr int kPatienceMs = 60000;

[[noreturn]] void Become(const std::string& program, const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment) {
    for (const std::string& pair : environment) {
        const std::size_t equals = pair.find('=');
        setenv(pair.substr(0, equals).c_str(), pair.substr(equals + 1).c_str(), 1);
    }
    std::vector<char*> words{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    execv(program.c_str(), words.data());
    _exit(127);
}

}  // namespace

Terminal::Terminal(const std::string& program, const std::vector<std::string>& arguments,
                   const std::vector<std::string>& environment) {
    winsize size{};
    size.ws_row = 40;
    size.ws_col = 100;
    pid_ = forkpty(&descriptor_, nullptr, nullptr, &size);
    if (pid_ < 0) {
        throw std::runtime_error("there is no pseudo-terminal");
    }
    if (pid_ == 0) {
        Become(program, arguments, environment);
    }
}

Terminal::~Terminal() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    close(descriptor_);
}

void Terminal::Answer(const std::string& text, const std::string& keys) {
    WaitFor(text);
    if (write(descriptor_, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
        throw std::runtime_error("the terminal takes no keys");
    }
}

std::string Terminal::WaitFor(const std::string& text) {
    std::size_t at = unseen_.find(text);
    while (at == std::string::npos) {
        if (!ReadMore()) {
            throw std::runtime_error("\"" + text + "\" does not appear; the screen: " + unseen_);
        }
        at = unseen_.find(text);
    }
    std::string seen = unseen_.substr(0, at + text.size());
    unseen_.erase(0, seen.size());
    return seen;
}

int Terminal::WaitForEnd() {
    while (ReadMore()) {
    }
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool Terminal::ReadMore() {
    pollfd ready{descriptor_, POLLIN, 0};
    std::array<char, 4096> buffer{};
    if (poll(&ready, 1, kPatienceMs) != 1) {
        return false;
    }
    const ssize_t count = read(descriptor_, buffer.data(), buffer.size());
    unseen_.append(buffer.data(), static_cast<std::size_t>(count > 0 ? count : 0));
    return count > 0;
}

}  // namespace qxdb_test
