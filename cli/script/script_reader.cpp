#include "cli/script/script_reader.h"

#include <string_view>

#include "util/text.h"

namespace CQXCLI::script {

namespace {

constexpr std::size_t kLongestPiece = 64 * 1024;

}  // namespace

ScriptReader::ScriptReader(std::istream& in, const Dialect& dialect)
    : in_(in), splitter_(dialect), buffer_(kLongestPiece) {}

bool ScriptReader::Next(Statement& statement) {
    while (!splitter_.Next(statement)) {
        if (ended_) {
            return false;
        }
        ReadLine();
    }
    return true;
}

void ScriptReader::ReadLine() {
    in_.getline(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    const auto count = static_cast<std::size_t>(in_.gcount());
    ended_ = in_.eof() || in_.bad() || count == 0;
    if (in_.good()) {
        buffer_[count - 1] = '\n';
    } else if (!ended_) {
        in_.clear();  // a long line: the rest of it comes next
    }
    const std::string_view piece(buffer_.data(), count);
    splitter_.Feed(first_ ? CQXBASE::WithoutByteOrderMark(piece) : piece);
    first_ = false;
    if (ended_) {
        splitter_.Finish();
    }
}

}  // namespace CQXCLI::script
