#include "cli/catalog.h"

namespace CQXCLI {

using Family = Dialect::Family;

namespace {

const char* TablesQuery(Family family) {
    switch (family) {
        case Family::Sqlite:
            return "SELECT name, type FROM sqlite_master WHERE type IN ('table', 'view') AND name "
                   "NOT LIKE 'sqlite\\_%' ESCAPE '\\' ORDER BY name";
        case Family::PostgreSql:
            return "SELECT table_schema AS \"schema\", table_name AS name, table_type AS type FROM "
                   "information_schema.tables WHERE table_schema NOT IN ('pg_catalog', "
                   "'information_schema') ORDER BY table_schema, table_name";
        case Family::MySql:
            return "SELECT table_name AS name, table_type AS type FROM information_schema.tables "
                   "WHERE table_schema = DATABASE() ORDER BY table_name";
        case Family::Oracle:
            return "SELECT object_name AS name, object_type AS type FROM user_objects WHERE "
                   "object_type IN ('TABLE', 'VIEW') ORDER BY object_name";
        default:
            return "SELECT table_schema, table_name, table_type FROM information_schema.tables "
                   "ORDER BY table_schema, table_name";
    }
}

const char* ColumnsQuery(Family family) {
    switch (family) {
        case Family::Sqlite:
            return "SELECT name, type, CASE WHEN \"notnull\" THEN 'NO' ELSE 'YES' END AS nullable, "
                   "dflt_value AS \"default\", pk AS \"key\" FROM pragma_table_info(?) ORDER BY "
                   "cid";
        case Family::MySql:
            return "SELECT column_name AS name, column_type AS type, is_nullable AS nullable, "
                   "column_default AS `default`, column_key AS `key` FROM "
                   "information_schema.columns WHERE table_schema = DATABASE() AND table_name = ? "
                   "ORDER BY ordinal_position";
        case Family::Oracle:
            return "SELECT column_name, data_type, nullable, data_default FROM user_tab_columns "
                   "WHERE table_name = ? ORDER BY column_id";
        default:
            return "SELECT column_name AS name, data_type AS type, is_nullable AS nullable, "
                   "column_default AS \"default\" FROM information_schema.columns WHERE "
                   "table_name = ? ORDER BY table_schema, ordinal_position";
    }
}

}  // namespace

CQXDB::QXCommand ListTables(const Dialect& dialect) {
    CQXDB::QXCommand command;
    command.SetTextUtf8(TablesQuery(dialect.family));
    return command;
}

CQXDB::QXCommand DescribeTable(const Dialect& dialect, std::string_view table) {
    CQXDB::QXCommand command;
    command.SetTextUtf8(ColumnsQuery(dialect.family));
    command.AddParam(CQXDB::QXValue::TextUtf8(table));
    return command;
}

CQXDB::QXCommand ColumnsOf(const Dialect& dialect, std::string_view table) {
    CQXDB::QXCommand command;
    command.SetTextUtf8("SELECT * FROM " + QuoteTable(dialect, table) + " WHERE 1 = 0");
    return command;
}

}  // namespace CQXCLI
