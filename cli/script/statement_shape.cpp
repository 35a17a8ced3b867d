#include "cli/script/statement_shape.h"

#include <algorithm>
#include <initializer_list>

#include "util/ascii.h"

namespace CQXCLI::script {

namespace {

using Family = Dialect::Family;

bool OneOf(std::string_view word, std::initializer_list<std::string_view> words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

}  // namespace

void StatementShape::Word(std::string_view word) {
    const std::string upper = CQXBASE::UpperAscii(word.substr(0, 16));
    if (body_ == Body::Undecided) {
        body_ = Decide(upper);
    } else if (body_ == Body::Atomic && parentheses_ == 0) {
        FollowAtomic(upper);
    }
    afterEnd_ = afterSemicolon_ && upper == "END";
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
        if (oracle && OneOf(word, {"DECLARE", "BEGIN"})) {
            return Body::UntilEndLine;
        }
        return OneOf(word, {"CREATE", "ALTER", "EXPLAIN"}) ? Body::Undecided : Body::None;
    }
    if (OneOf(word, {"CREATE", "OR", "ALTER", "REPLACE", "TEMP", "TEMPORARY", "CONSTRAINT", "QUERY",
                     "PLAN", "EDITIONABLE", "NONEDITIONABLE"})) {
        return Body::Undecided;
    }
    if (word == "TRIGGER" && dialect_->Is(Family::Sqlite)) {
        return Body::Trigger;
    }
    if (OneOf(word, {"FUNCTION", "PROCEDURE"})) {
        return Routine();
    }
    const bool untilLine = OneOf(word, {"TRIGGER", "PROC"}) || OneOf(word, {"PACKAGE", "TYPE"});
    return untilLine && !dialect_->endLine.empty() ? Body::UntilEndLine : Body::None;
}

StatementShape::Body StatementShape::Routine() const {
    if (dialect_->Is(Family::PostgreSql)) {
        return Body::Atomic;
    }
    return dialect_->endLine.empty() ? Body::None : Body::UntilEndLine;
}

void StatementShape::FollowAtomic(std::string_view word) {
    if (word == "BEGIN" || (word == "CASE" && blocks_ > 0)) {
        ++blocks_;
    } else if (word == "END" && blocks_ > 0) {
        --blocks_;
    }
}

}  // namespace CQXCLI::script
