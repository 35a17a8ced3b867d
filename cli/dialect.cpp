#include "cli/dialect.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace CQXCLI {

namespace {

using Family = Dialect::Family;

constexpr CQXBASE::SqlSyntax MySqlScriptSyntax() noexcept {
    CQXBASE::SqlSyntax syntax = CQXBASE::MySqlSyntax();
    // Scripts use "$$" as a delimiter, which may follow a word directly.
    syntax.dollarInWords = false;
    return syntax;
}

constexpr std::pair<std::string_view, Dialect> kDialects[] = {
    {"sqlite", {Family::Sqlite, '"', '"', CQXBASE::SqliteSyntax()}},
    {"postgresql", {Family::PostgreSql, '"', '"', CQXBASE::PostgreSqlSyntax()}},
    {"mysql", {Family::MySql, '`', '`', MySqlScriptSyntax()}},
    {"sqlserver", {Family::SqlServer, '[', ']', CQXBASE::SqlServerSyntax(), "GO"}},
    {"oracle", {Family::Oracle, '"', '"', {}, "/"}},
    {"other", {}},
};

Family FamilyOf(CQXDB::CQXDB_DSType_ENUM type) noexcept {
    switch (type) {
        case CQXDB::CQXDB_DS_EMBEDDED:
        case CQXDB::CQXDB_DS_SQLITE:
            return Family::Sqlite;
        case CQXDB::CQXDB_DS_POSTGRESQL:
            return Family::PostgreSql;
        case CQXDB::CQXDB_DS_MYSQL:
        case CQXDB::CQXDB_DS_MARIADB:
            return Family::MySql;
        case CQXDB::CQXDB_DS_SQLSERVER:
            return Family::SqlServer;
        case CQXDB::CQXDB_DS_ORACLE:
            return Family::Oracle;
        default:
            return Family::Other;
    }
}

}  // namespace

const Dialect& DialectOf(CQXDB::CQXDB_DSType_ENUM type) noexcept {
    return kDialects[static_cast<std::size_t>(FamilyOf(type))].second;
}

const Dialect* FindDialect(std::string_view name) noexcept {
    const auto* found = std::find_if(std::begin(kDialects), std::end(kDialects),
                                     [name](const auto& entry) { return entry.first == name; });
    return found == std::end(kDialects) ? nullptr : &found->second;
}

std::string QuoteName(const Dialect& dialect, std::string_view name) {
    std::string quoted(1, dialect.nameOpen);
    for (const char c : name) {
        quoted.append(c == dialect.nameClose ? 2 : 1, c);
    }
    return quoted + dialect.nameClose;
}

std::string QuoteTable(const Dialect& dialect, std::string_view table) {
    if (!table.empty() && std::string_view("\"`[").find(table[0]) != std::string_view::npos) {
        return std::string(table);
    }
    std::string quoted;
    for (std::size_t dot = table.find('.'); dot != std::string_view::npos; dot = table.find('.')) {
        quoted += QuoteName(dialect, table.substr(0, dot)) + '.';
        table.remove_prefix(dot + 1);
    }
    return quoted + QuoteName(dialect, table);
}

}  // namespace CQXCLI
