#include "cli/output/progress.h"

#include <algorithm>
#include <cmath>

namespace CQXCLI::output {

namespace {

constexpr std::chrono::milliseconds kPause{100};
constexpr std::size_t kWidestBar = 40;

std::string Pad(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::string TimeLeft(double share, double seconds) {
    if (share <= 0 || seconds < 1) {
        return {};
    }
    const double left = std::ceil(seconds / share - seconds);
    return "  " + Grouped(static_cast<std::uint64_t>(left)) + " s left";
}

}  // namespace

std::string Grouped(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3;) {
        at -= 3;
        text.insert(at, 1, ',');
    }
    return text;
}

std::string ProgressText(std::uint64_t done, std::uint64_t total, std::uint64_t rows,
                         double seconds, std::size_t columns) {
    const std::string count = Grouped(rows) + (rows == 1 ? " row" : " rows");
    if (total == 0) {
        return count.substr(0, columns);
    }
    const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
    const auto percent = static_cast<int>(share * 100);
    const std::string rest =
        Pad(std::to_string(percent), 4) + " %  " + count + TimeLeft(share, seconds);
    const std::size_t room = columns - std::min(columns, rest.size() + 2);
    const std::size_t width = std::min(room, kWidestBar);
    const auto filled = static_cast<std::size_t>(share * static_cast<double>(width));
    const std::string bar = "[" + std::string(filled, '#') + std::string(width - filled, '-') + "]";
    return ((width < 4 ? "" : bar) + rest).substr(0, columns);
}

ProgressBar::ProgressBar(std::ostream& out, bool onTerminal, std::size_t columns)
    : out_(out), onTerminal_(onTerminal), columns_(columns) {}

ProgressBar::~ProgressBar() {
    if (drawn_) {
        out_ << '\r' << std::string(columns_ - 1, ' ') << '\r' << std::flush;
    }
}

void ProgressBar::Update(std::uint64_t done, std::uint64_t total, std::uint64_t rows) {
    const Clock::time_point now = Clock::now();
    if (!onTerminal_ || now - last_ < kPause) {
        return;
    }
    last_ = now;
    drawn_ = true;
    const std::chrono::duration<double> passed = now - start_;
    const std::string text = ProgressText(done, total, rows, passed.count(), columns_ - 1);
    out_ << '\r' << text << std::string(columns_ - 1 - text.size(), ' ') << std::flush;
}

}  // namespace CQXCLI::output
