#include "adapter/statement_text.h"

#include <algorithm>

#include "util/ascii.h"
#include "util/sql_words.h"

namespace CQXDB::adapter {

using CQXBASE::IsOneOf;
using CQXBASE::SameAsciiWord;

namespace {

/// True for what may stand behind the BEGIN of a transaction.
bool MayFollowBegin(std::string_view word) noexcept {
    return IsOneOf(word, {"TRANSACTION", "TRAN", "WORK", "DEFERRED", "IMMEDIATE", "EXCLUSIVE",
                          "CONCURRENT", "ISOLATION", "READ", "DEFERRABLE", "NOT"});
}

/// Follows the words of a statement to tell which semicolons belong to the body of a trigger or of
/// a stored procedure.
class BodyWatch {
  public:
    explicit BodyWatch(bool nestedBodies) noexcept : nestedBodies_(nestedBodies) {}

    void Word(std::string_view word) noexcept {
        if (words_ == 0) {
            create_ = SameAsciiWord(word, "CREATE");
            begin_ = SameAsciiWord(word, "BEGIN");
        } else if (nestedBodies_ && begin_ && words_ == 1) {
            body_ = SameAsciiWord(word, "NOT");  // BEGIN NOT ATOMIC
        } else if (create_ && !body_) {
            body_ = SameAsciiWord(word, "TRIGGER") ||
                    (nestedBodies_ && IsOneOf(word, {"PROCEDURE", "FUNCTION", "EVENT", "PACKAGE"}));
        }
        ++words_;
        closing_ = afterSemicolon_ && SameAsciiWord(word, "END");
        afterSemicolon_ = false;
    }
    void OtherToken() noexcept { afterSemicolon_ = closing_ = false; }
    /// True when this semicolon ends the statement.
    bool Semicolon() noexcept {
        if (body_ && (nestedBodies_ || !closing_)) {
            afterSemicolon_ = true;
            return false;
        }
        *this = BodyWatch(nestedBodies_);
        return true;
    }

  private:
    bool nestedBodies_;
    int words_ = 0;
    bool create_ = false;
    bool begin_ = false;
    bool body_ = false;
    bool afterSemicolon_ = false;
    bool closing_ = false;  ///< the last two tokens were a semicolon and END
};

}  // namespace

NativeText ToNative(std::string_view text, const SqlDialect& dialect, ParameterStyle style) {
    NativeText native;
    native.sql.reserve(text.size() + 8);
    std::size_t copied = 0;
    const auto replace = [&](const SqlLexer& lexer, std::string_view by) {
        native.sql.append(text.substr(copied, lexer.Begin() - copied)).append(by);
        copied = lexer.End();
    };
    SqlLexer lexer(text, dialect);
    for (SqlToken token = lexer.Next(); token != SqlToken::End; token = lexer.Next()) {
        if (token == SqlToken::QuestionMark) {
            native.literalQuestionMark = true;
            replace(lexer, "?");
        } else if (token == SqlToken::Parameter) {
            ++native.parameters;
            if (style == ParameterStyle::DollarNumber) {
                replace(lexer, "$" + std::to_string(native.parameters));
            }
        }
    }
    native.sql.append(text.substr(copied));
    return native;
}

std::vector<std::string_view> SplitStatements(std::string_view text, const SqlDialect& dialect) {
    std::vector<std::string_view> statements;
    BodyWatch watch(dialect.nestedBodies);
    SqlLexer lexer(text, dialect);
    std::size_t begin = std::string_view::npos;
    std::size_t end = 0;
    const auto finish = [&] {
        if (begin != std::string_view::npos) {
            statements.push_back(text.substr(begin, end - begin));
            begin = std::string_view::npos;
        }
    };
    for (SqlToken token = lexer.Next(); token != SqlToken::End; token = lexer.Next()) {
        if (token == SqlToken::Semicolon && watch.Semicolon()) {
            finish();
            continue;
        }
        if (token != SqlToken::Semicolon) {
            begin = begin == std::string_view::npos ? lexer.Begin() : begin;
            token == SqlToken::Word ? watch.Word(lexer.Text()) : watch.OtherToken();
        }
        end = lexer.End();
    }
    finish();
    return statements;
}

bool ControlsTransaction(std::string_view statement, const SqlDialect& dialect) {
    SqlLexer lexer(statement, dialect);
    if (lexer.Next() != SqlToken::Word) {
        return false;
    }
    const std::string_view first = lexer.Text();
    SqlToken token = lexer.Next();
    if (SameAsciiWord(first, "BEGIN")) {
        // Otherwise it opens a block of statements.
        return token != SqlToken::Word || MayFollowBegin(lexer.Text());
    }
    if (SameAsciiWord(first, "START")) {
        return token == SqlToken::Word && SameAsciiWord(lexer.Text(), "TRANSACTION");
    }
    if (SameAsciiWord(first, "COMMIT") ||
        (dialect.endCommits && IsOneOf(first, {"END", "ABORT"}))) {
        return true;
    }
    if (!SameAsciiWord(first, "ROLLBACK")) {
        return false;
    }
    while (token == SqlToken::Word && IsOneOf(lexer.Text(), {"TRANSACTION", "WORK"})) {
        token = lexer.Next();
    }
    return token != SqlToken::Word || !SameAsciiWord(lexer.Text(), "TO");
}

bool HoldsTransactionControl(const std::vector<std::string_view>& script,
                             const SqlDialect& dialect) {
    return std::any_of(script.begin(), script.end(), [&dialect](std::string_view statement) {
        return ControlsTransaction(statement, dialect);
    });
}

std::string FirstWord(std::string_view statement, const SqlDialect& dialect) {
    SqlLexer lexer(statement, dialect);
    return lexer.Next() == SqlToken::Word ? CQXBASE::UpperAscii(lexer.Text()) : std::string();
}

bool LooksReadOnly(std::string_view statement, const SqlDialect& dialect) {
    SqlLexer lexer(statement, dialect);
    SqlToken token = lexer.Next();
    if (token != SqlToken::Word || !IsOneOf(lexer.Text(), {"SELECT", "VALUES", "WITH", "TABLE"})) {
        return false;
    }
    for (; token != SqlToken::End; token = lexer.Next()) {
        if (token == SqlToken::Word && CQXBASE::ChangesData(lexer.Text())) {
            return false;
        }
    }
    return true;
}

}  // namespace CQXDB::adapter
