// A terminal with a program on it, as a person sees and uses it.
#pragma once

#include <string>
#include <vector>

namespace qxdb_test {

class Terminal {
  public:
    /// Starts `program` on a new pseudo-terminal of 100 columns, with "NAME=value" added to the
    /// test's environment. Throws std::runtime_error.
    Terminal(const std::string& program, const std::vector<std::string>& arguments,
             const std::vector<std::string>& environment);
    /// Kills the program when it still runs.
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Reads until `text` has appeared behind what earlier calls waited for, and gives what came up
    /// to it. Throws std::runtime_error with the screen when the program ends, or a minute passes,
    /// without it.
    std::string WaitFor(const std::string& text);
    /// Types the keys once the text has appeared.
    void Answer(const std::string& text, const std::string& keys);
    /// Waits for the program's end: its exit status, or 128 and the signal's number.
    int WaitForEnd();

  private:
    bool ReadMore();

    int pid_ = -1;
    int descriptor_ = -1;
    std::string unseen_;
};

}  // namespace qxdb_test
