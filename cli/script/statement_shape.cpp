#include "cli/script/statement_shape.h"

#include "util/ascii.h"
#include "util/sql_words.h"

namespace CQXCLI::script {

using CQXBASE::IsOneOf;
using CQXBASE::SameAsciiWord;
using Family = Dialect::Family;

void StatementShape::Word(std::string_view word) {
    if (body_ == Body::Undecided) {
        body_ = Decide(word);
    } else if (body_ == Body::Atomic && parentheses_ == 0) {
        FollowAtomic(word);
    }
    afterEnd_ = afterSemicolon_ && SameAsciiWord(word, "END");
    afterSemicolon_ = false;
    ++words_;
}

void StatementShape::Symbol(char symbol) {
    const bool counts = dialect_->Is(Family::PostgreSql);
    if (counts && symbol == '(') {
        ++parentheses_;
    } else if (symbol == ')' && parentheses_ > 0) {
        --parentheses_;
    }
    afterSemicolon_ = symbol == ';';
    afterEnd_ = false;
}

bool StatementShape::SemicolonEnds() const noexcept {
    if (body_ == Body::Trigger) {
        return afterEnd_;
    }
    return body_ != Body::UntilEndLine && parentheses_ == 0 && blocks_ == 0;
}

StatementShape::Body StatementShape::Decide(std::string_view word) const {
    const bool oracle = dialect_->Is(Family::Oracle);
    if (words_ == 0) {
        if (oracle && IsOneOf(word, {"DECLARE", "BEGIN"})) {
            return Body::UntilEndLine;
        }
        return IsOneOf(word, {"CREATE", "ALTER", "EXPLAIN"}) ? Body::Undecided : Body::None;
    }
    if (IsOneOf(word, {"CREATE", "OR", "ALTER", "REPLACE", "TEMP", "TEMPORARY", "CONSTRAINT",
                       "QUERY", "PLAN", "EDITIONABLE", "NONEDITIONABLE"})) {
        return Body::Undecided;
    }
    if (SameAsciiWord(word, "TRIGGER") && dialect_->Is(Family::Sqlite)) {
        return Body::Trigger;
    }
    if (IsOneOf(word, {"FUNCTION", "PROCEDURE"})) {
        return Routine();
    }
    const bool untilLine = IsOneOf(word, {"TRIGGER", "PROC", "PACKAGE", "TYPE"});
    return untilLine && !dialect_->endLine.empty() ? Body::UntilEndLine : Body::None;
}

StatementShape::Body StatementShape::Routine() const {
    if (dialect_->Is(Family::PostgreSql)) {
        return Body::Atomic;
    }
    return dialect_->endLine.empty() ? Body::None : Body::UntilEndLine;
}

void StatementShape::FollowAtomic(std::string_view word) {
    if (SameAsciiWord(word, "BEGIN") || (SameAsciiWord(word, "CASE") && blocks_ > 0)) {
        ++blocks_;
    } else if (SameAsciiWord(word, "END") && blocks_ > 0) {
        --blocks_;
    }
}

}  // namespace CQXCLI::script
