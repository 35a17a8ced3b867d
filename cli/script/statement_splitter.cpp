#include "cli/script/statement_splitter.h"

#include <algorithm>

#include "util/ascii.h"

namespace CQXCLI::script {

using CQXBASE::IsWordByte;
using CQXBASE::SqlPiece;
using CQXBASE::TrimAscii;
using CQXBASE::UpperAscii;

namespace {

constexpr auto npos = std::string_view::npos;

bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

}  // namespace

StatementSplitter::StatementSplitter(const Dialect& dialect)
    : dialect_(&dialect), scanner_(dialect.syntax), shape_(dialect) {}

void StatementSplitter::Feed(std::string_view bytes) {
    const std::size_t drop = begun_ ? start_ : position_;
    buffer_.erase(0, drop);
    start_ = 0;
    end_ -= std::min(end_, drop);
    position_ -= drop;
    lineStart_ -= std::min(lineStart_, drop);
    buffer_ += bytes;
}

bool StatementSplitter::Next(Statement& out) {
    while (position_ < buffer_.size()) {
        const Step step = Advance(out);
        if (step != Step::Continue) {
            return step == Step::Taken;
        }
    }
    return finished_ && TakeRest(out);
}

StatementSplitter::Step StatementSplitter::Advance(Statement& out) {
    if (!begun_ && buffer_[position_] == '\\') {
        return TakeCommand(out);
    }
    const std::string_view rest = Text(position_, npos);
    if (delimiter_ != ";" && StartsWith(rest, delimiter_)) {
        return Take(position_ + delimiter_.size(), out);
    }
    if (delimiter_ != ";" && StartsWith(delimiter_, rest) && !finished_) {
        return Step::Wait;
    }
    SqlPiece piece;
    const bool whole = scanner_.Next(buffer_, position_, finished_, piece);
    return whole ? Consume(piece, out) : Step::Wait;
}

StatementSplitter::Step StatementSplitter::Consume(const SqlPiece& piece, Statement& out) {
    switch (piece.kind) {
        case SqlPiece::Kind::Space:
            return ConsumeSpace(piece, out);
        case SqlPiece::Kind::Symbol:
            return ConsumeSymbol(piece, out);
        case SqlPiece::Kind::Word:
            return ConsumeWord(piece);
        case SqlPiece::Kind::Quoted:
            Begin(piece);
            shape_.Symbol(buffer_[piece.begin]);
            break;
        case SqlPiece::Kind::Comment:
            if (CommentRuns(Text(piece.begin, piece.end), dialect_->syntax) || !piece.closed) {
                Begin(piece);
            }
            break;
    }
    MoveTo(piece.end);
    return Step::Continue;
}

StatementSplitter::Step StatementSplitter::ConsumeSpace(const SqlPiece& piece, Statement& out) {
    const bool lineEnds = Text(piece.begin, piece.end).find('\n') != npos;
    if (lineEnds && AtEndLine(piece.begin)) {
        end_ = lineStart_;
        return Take(piece.end, out);
    }
    MoveTo(piece.end);
    return Step::Continue;
}

StatementSplitter::Step StatementSplitter::ConsumeSymbol(const SqlPiece& piece, Statement& out) {
    const char symbol = buffer_[piece.begin];
    if (symbol == ';' && delimiter_ == ";" && shape_.SemicolonEnds()) {
        return Take(piece.end, out);
    }
    Begin(piece);
    shape_.Symbol(symbol);
    MoveTo(piece.end);
    return Step::Continue;
}

StatementSplitter::Step StatementSplitter::ConsumeWord(const SqlPiece& piece) {
    const std::string_view word = Text(piece.begin, piece.end);
    if (!begun_ && dialect_->Is(Dialect::Family::MySql) && UpperAscii(word) == "DELIMITER") {
        return TakeDelimiter();
    }
    Begin(piece);
    shape_.Word(word);
    MoveTo(piece.end);
    return Step::Continue;
}

StatementSplitter::Step StatementSplitter::Take(std::size_t next, Statement& out) {
    const std::string_view text = begun_ ? TrimAscii(Text(start_, end_)) : std::string_view();
    const bool empty = text.empty();
    if (!empty) {
        out = {std::string(text), startLine_, false, unfinished_};
    }
    begun_ = false;
    shape_.Reset();
    MoveTo(next);
    return empty ? Step::Continue : Step::Taken;
}

bool StatementSplitter::TakeRest(Statement& out) {
    if (AtEndLine(buffer_.size())) {
        end_ = lineStart_;
    }
    return Take(buffer_.size(), out) == Step::Taken;
}

char StatementSplitter::Inside() const noexcept {
    if (position_ >= buffer_.size()) {
        return '\0';
    }
    const char first = buffer_[position_];
    return first == '/' ? '*' : IsWordByte(first) ? '\'' : first;
}

void StatementSplitter::Clear() {
    MoveTo(buffer_.size());
    buffer_.clear();
    start_ = end_ = position_ = lineStart_ = 0;
    begun_ = false;
    scanner_ = CQXBASE::SqlScanner(dialect_->syntax);
    shape_.Reset();
}

void StatementSplitter::Begin(const SqlPiece& piece) {
    if (!begun_) {
        begun_ = true;
        start_ = piece.begin;
        startLine_ = line_;
    }
    end_ = piece.end;
    unfinished_ = !piece.closed;
}

void StatementSplitter::MoveTo(std::size_t position) {
    const std::string_view text = std::string_view(buffer_).substr(0, position);
    for (std::size_t at = text.find('\n', position_); at != npos; at = text.find('\n', at + 1)) {
        ++line_;
        lineStart_ = at + 1;
    }
    position_ = position;
}

std::string_view StatementSplitter::Text(std::size_t begin, std::size_t end) const {
    return std::string_view(buffer_).substr(begin, end == npos ? npos : end - begin);
}

}  // namespace CQXCLI::script
