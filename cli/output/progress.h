// A progress bar on a terminal.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>

namespace CQXCLI::output {

/// One line on a terminal that is drawn over and over, ten times a second at most. Off a terminal
/// it writes nothing at all.
class ProgressBar {
  public:
    /// `columns`: width of the terminal. `out` must outlive the bar.
    ProgressBar(std::ostream& out, bool onTerminal, std::size_t columns);
    /// Wipes the line.
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// `done` of `total` parts are done, which made `rows` rows; a total of 0 is not known.
    void Update(std::uint64_t done, std::uint64_t total, std::uint64_t rows);

  private:
    using Clock = std::chrono::steady_clock;

    std::ostream& out_;
    const bool onTerminal_;
    const std::size_t columns_;
    bool drawn_ = false;
    Clock::time_point last_{};
    const Clock::time_point start_ = Clock::now();
};

/// The text of such a line: "[####------]  40 %  1,234 rows  3 s left". `seconds`: time passed.
std::string ProgressText(std::uint64_t done, std::uint64_t total, std::uint64_t rows,
                         double seconds, std::size_t columns);

/// "1,234,567"
std::string Grouped(std::uint64_t number);

}  // namespace CQXCLI::output
