#include "cli/script/statement_kind.h"

#include <algorithm>
#include <vector>

#include "util/ascii.h"
#include "util/sql_scanner.h"
#include "util/sql_words.h"

namespace CQXCLI::script {

using CQXBASE::IsOneOf;
using CQXBASE::SqlPiece;
using CQXBASE::SqlScanner;
using CQXBASE::UpperAscii;

namespace {

using Family = Dialect::Family;
using Words = std::vector<std::string>;

/// The words (in upper case), quoted texts and symbols of a statement, `limit` of them at most.
Words WordsOf(const Dialect& dialect, std::string_view sql, std::size_t limit) {
    Words words;
    SqlScanner scanner(dialect.syntax);
    SqlPiece piece;
    for (std::size_t at = 0; at < sql.size() && words.size() < limit; at = piece.end) {
        scanner.Next(sql, at, true, piece);
        const std::string_view text = sql.substr(piece.begin, piece.end - piece.begin);
        if (piece.kind == SqlPiece::Kind::Word) {
            words.push_back(UpperAscii(text));
        } else if (piece.kind == SqlPiece::Kind::Quoted || piece.kind == SqlPiece::Kind::Symbol) {
            words.emplace_back(text);
        }
    }
    return words;
}

bool IsNoise(const std::string& word) {
    return IsOneOf(word, {"TRANSACTION", "TRAN", "WORK", "DEFERRED", "IMMEDIATE", "EXCLUSIVE"});
}

bool OnlyNoiseFollows(const Words& words) {
    return std::all_of(words.begin() + 1, words.end(), IsNoise);
}

bool StartsTransaction(const Dialect& dialect, const Words& words) {
    if (words[0] == "START") {
        return words.size() > 1 && words[1] == "TRANSACTION";
    }
    // Elsewhere, BEGIN may open a block of statements, too.
    const bool always = dialect.Is(Family::Sqlite) || dialect.Is(Family::PostgreSql);
    return words[0] == "BEGIN" && !dialect.Is(Family::Oracle) &&
           (always || words.size() == 1 || IsNoise(words[1]));
}

std::string Modes(const Words& words) {
    std::string modes;
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (!IsNoise(words[i])) {
            modes += (modes.empty() ? "" : " ") + words[i];
        }
    }
    return modes;
}

bool IsCommit(const Dialect& dialect, const Words& words) {
    const bool end =
        words[0] == "END" && (dialect.Is(Family::Sqlite) || dialect.Is(Family::PostgreSql));
    return (words[0] == "COMMIT" || end) && OnlyNoiseFollows(words);
}

bool IsRollback(const Words& words) {
    return IsOneOf(words[0], {"ROLLBACK", "ABORT"}) && OnlyNoiseFollows(words);
}

/// The name that follows USE, as it was written.
std::string UsedName(std::string_view sql) {
    std::string_view name = sql.substr(3);
    name.remove_prefix(std::min(name.find_first_not_of(" \t\r\n"), name.size()));
    const bool quoted = name.size() > 1 && std::string_view("`\"[").find(name[0]) != name.npos;
    return std::string(quoted ? name.substr(1, name.size() - 2) : name);
}

bool ReadsInput(const Words& words) {
    const auto from = std::find(words.begin(), words.end(), "FROM");
    return words[0] == "COPY" && from != words.end() && from + 1 != words.end() &&
           from[1] == "STDIN";
}

}  // namespace

StatementClass Classify(const Dialect& dialect, std::string_view sql) {
    Words words = WordsOf(dialect, sql, 16);
    if (words.empty()) {
        return {};
    }
    if (words[0] == "COPY" && dialect.Is(Family::PostgreSql)) {
        words = WordsOf(dialect, sql, sql.size());
        return {ReadsInput(words) ? StatementKind::CopyInput : StatementKind::Other};
    }
    if (StartsTransaction(dialect, words)) {
        return {StatementKind::Begin, Modes(words)};
    }
    if (IsCommit(dialect, words)) {
        return {StatementKind::Commit};
    }
    if (IsRollback(words)) {
        return {StatementKind::Rollback};
    }
    if (words[0] == "USE" && words.size() == 2) {
        return {StatementKind::Use, UsedName(sql)};
    }
    return {};
}

bool OnlyReads(const Dialect& dialect, std::string_view sql) {
    const Words words = WordsOf(dialect, sql, sql.size());
    return !words.empty() && IsOneOf(words[0], {"SELECT", "VALUES", "TABLE", "WITH", "("}) &&
           std::none_of(words.begin(), words.end(), CQXBASE::ChangesData);
}

}  // namespace CQXCLI::script
