#include "adapter/sql_lexer.h"

#include "util/ascii.h"

namespace CQXDB::adapter {

using CQXBASE::SqlPiece;

SqlToken SqlLexer::Next() noexcept {
    while (end_ < text_.size()) {
        begin_ = end_;
        if (CommentRuns(text_.substr(begin_), syntax_)) {
            // Its inside is scanned like any other text.
            ++end_;
            return SqlToken::Other;
        }
        SqlPiece piece;
        scanner_.Next(text_, begin_, true, piece);
        end_ = piece.end;
        switch (piece.kind) {
            case SqlPiece::Kind::Word:
                return CQXBASE::IsAsciiDigit(text_[begin_]) ? SqlToken::Other : SqlToken::Word;
            case SqlPiece::Kind::Quoted:
                return SqlToken::Quoted;
            case SqlPiece::Kind::Symbol:
                return Symbol();
            default:
                break;
        }
    }
    begin_ = end_;
    return SqlToken::End;
}

SqlToken SqlLexer::Symbol() noexcept {
    switch (text_[begin_]) {
        case ';':
            return SqlToken::Semicolon;
        case '?':
            if (end_ == text_.size() || text_[end_] != '?') {
                return SqlToken::Parameter;
            }
            ++end_;
            return SqlToken::QuestionMark;
        case '$':
            // The name of a parameter in the database's own way is no word of the language.
            while (end_ < text_.size() &&
                   (CQXBASE::IsWordByte(text_[end_]) || text_[end_] == '$')) {
                ++end_;
            }
            return SqlToken::Other;
        default:
            return SqlToken::Other;
    }
}

}  // namespace CQXDB::adapter
