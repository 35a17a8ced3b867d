// How databases write strings, names and comments.
#pragma once

namespace CQXBASE {

struct SqlSyntax {
    bool backslashEscapes = false;  ///< in every string, not only in E'...'
    bool escapeStrings = false;     ///< E'...' with backslash escapes
    bool dollarQuotes = false;      ///< $tag$...$tag$
    bool dollarInWords = true;      ///< a name may hold "$"
    bool brackets = false;          ///< [name]
    bool backticks = false;         ///< `name`
    bool nestedComments = false;    ///< /* /* */ */ is one comment
    bool hashComments = false;      ///< # to the end of the line
    bool dashNeedsBlank = false;    ///< "--" starts a comment only before a blank
    bool commentsRun = false;       ///< what stands in /*! ... */ and /*M! ... */ runs
};

constexpr SqlSyntax SqliteSyntax() noexcept {
    SqlSyntax syntax;
    syntax.brackets = true;
    syntax.backticks = true;
    return syntax;
}

constexpr SqlSyntax PostgreSqlSyntax() noexcept {
    SqlSyntax syntax;
    syntax.escapeStrings = true;
    syntax.dollarQuotes = true;
    syntax.nestedComments = true;
    return syntax;
}

/// `backslashEscapes`: false under sql_mode NO_BACKSLASH_ESCAPES.
constexpr SqlSyntax MySqlSyntax(bool backslashEscapes = true) noexcept {
    SqlSyntax syntax;
    syntax.backslashEscapes = backslashEscapes;
    syntax.backticks = true;
    syntax.hashComments = true;
    syntax.dashNeedsBlank = true;
    syntax.commentsRun = true;
    return syntax;
}

constexpr SqlSyntax SqlServerSyntax() noexcept {
    SqlSyntax syntax;
    syntax.brackets = true;
    syntax.nestedComments = true;
    return syntax;
}

}  // namespace CQXBASE
