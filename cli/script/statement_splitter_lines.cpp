// The part of StatementSplitter for what has a line of its own: commands, DELIMITER, end lines.
#include <algorithm>

#include "cli/script/statement_splitter.h"
#include "util/ascii.h"

namespace CQXCLI::script {

using CQXBASE::TrimAscii;
using CQXBASE::UpperAscii;

namespace {

constexpr auto npos = std::string_view::npos;

}  // namespace

StatementSplitter::Step StatementSplitter::TakeCommand(Statement& out) {
    const std::size_t newline = buffer_.find('\n', position_);
    if (newline == npos && !finished_) {
        return Step::Wait;
    }
    std::string_view text = TrimAscii(Text(position_, newline));
    while (!text.empty() && text.back() == ';') {
        text = TrimAscii(text.substr(0, text.size() - 1));
    }
    out = {std::string(text), line_, true, false};
    MoveTo(std::min(newline, buffer_.size()));
    return Step::Taken;
}

StatementSplitter::Step StatementSplitter::TakeDelimiter() {
    const std::size_t newline = buffer_.find('\n', position_);
    if (newline == npos && !finished_) {
        return Step::Wait;
    }
    const std::string_view wanted =
        TrimAscii(Text(position_, newline).substr(std::string_view("DELIMITER").size()));
    delimiter_ = wanted.empty() ? ";" : wanted;
    MoveTo(std::min(newline, buffer_.size()));
    return Step::Continue;
}

bool StatementSplitter::AtEndLine(std::size_t end) const {
    return begun_ && !dialect_->endLine.empty() && lineStart_ >= start_ &&
           UpperAscii(TrimAscii(Text(lineStart_, end))) == dialect_->endLine;
}

}  // namespace CQXCLI::script
