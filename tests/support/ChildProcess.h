// A program started by a test, stopped by its own process number.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qxdb_test {

/// What the program writes is collected while it runs, so that it never blocks on a full pipe.
class ChildProcess {
  public:
    struct Options {
        std::string workingDirectory;          ///< empty: the test's own
        std::vector<std::string> environment;  ///< "NAME=value", added to the test's own
        std::string input;                     ///< what the program reads before its input ends
    };

    /// Starts `program` with `arguments`. On Linux it is killed when the calling thread ends,
    /// however that happens. One that doesn't exist ends at once, with a status that isn't 0.
    ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                 const Options& options = {});
    /// Asks the program to end, and kills it when it does not in 10 seconds.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    int Pid() const;
    bool Running();
    /// Writes to the program's standard input, which stays open; not together with Options::input.
    void Write(const std::string& bytes);
    void CloseInput();
    /// SIGTERM; on Windows the program is killed.
    void Terminate();
    void Kill();
    /// Waits for the end, and for all output, and gives the exit status (128 + the number for a
    /// signal); throws std::runtime_error after `limit`.
    int Wait(std::chrono::seconds limit = std::chrono::seconds(30));

    /// Standard output and standard error so far.
    std::string Output() const;
    std::string Errors() const;
    /// Waits until `ready`, which is asked often; false after `limit` or when the program has ended
    /// without.
    bool WaitUntil(const std::function<bool()>& ready,
                   std::chrono::seconds limit = std::chrono::seconds(30)) const;
    /// The same for Output() or Errors() to hold `text`.
    bool WaitForText(const std::string& text,
                     std::chrono::seconds limit = std::chrono::seconds(30)) const;

  private:
    void KillForGood() noexcept;

    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/// Runs a program with arguments to its end and gives what it wrote to both streams. Throws
/// std::runtime_error with that for an exit status other than 0.
std::string RunToSuccess(const std::vector<std::string>& words);

}  // namespace qxdb_test
