#include "adapter/sqlite/open.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "adapter/options.h"
#include "adapter/sqlite/errors.h"
#include "util/text.h"

namespace CQXDB::adapter::sqlite {
namespace {

std::string TakeOneOf(Options& options, const std::string& key,
                      std::initializer_list<std::string_view> allowed) {
    std::string value = options.Take(key);
    if (!value.empty() && std::find(allowed.begin(), allowed.end(), value) == allowed.end()) {
        std::string text = "the option " + key + " takes one of";
        for (const std::string_view one : allowed) {
            text.append(" ").append(one);
        }
        throw DatabaseError(DBMGR_BAD_OPTION, text + ", not \"" + value + "\"");
    }
    return value;
}

int OpenFlags(const std::string& mode) {
    const int access = mode == "ro"   ? SQLITE_OPEN_READONLY
                       : mode == "rw" ? SQLITE_OPEN_READWRITE
                                      : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    // The pool hands a connection to one thread at a time, so it needs no lock of its own.
    return access | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX;
}

void Pragma(sqlite3* db, const std::string& text) {
    CheckSqlite(db, sqlite3_exec(db, ("PRAGMA " + text).c_str(), nullptr, nullptr, nullptr));
}

}  // namespace

SqliteSettings SqliteSettings::Of(const QXDataSource& dataSource) {
    SqliteSettings settings;
    settings.path = CQXBASE::WideToUtf8(dataSource.database);
    if (settings.path.empty() || settings.path.find('\0') != std::string::npos) {
        throw DatabaseError(DBMGR_BAD_DATA_SOURCE,
                            "the data source names no database: a file path or :memory:");
    }
    Options options(dataSource.options);
    settings.openFlags = OpenFlags(TakeOneOf(options, "mode", {"ro", "rw", "rwc"}));
    settings.busyTimeoutMs =
        static_cast<int>(options.TakeNumber("busy_timeout", 5000, 0, 86400000));
    settings.foreignKeys = options.TakeFlag("foreign_keys", true);
    settings.journalMode = TakeOneOf(options, "journal_mode",
                                     {"wal", "delete", "truncate", "persist", "memory", "off"});
    settings.synchronous = TakeOneOf(options, "synchronous", {"off", "normal", "full", "extra"});
    settings.confined = options.TakeFlag("confined", false);
    settings.confinement.maxValueBytes = options.TakeNumber("max_value_mib", 65, 1, 1023) << 20;
    settings.confinement.fullText = options.TakeFlag("fulltext", false);
    settings.statementTimeout = options.TakeStatementTimeout();
    settings.pool = options.TakePoolLimits();
    options.RefuseRest();
    if (settings.Private()) {
        settings.pool.maxConnections = 1;
        settings.pool.keepsData = true;
    }
    return settings;
}

bool SqliteSettings::Private() const {
    const bool uri = path.compare(0, 5, "file:") == 0;
    return path == ":memory:" || (uri && (path.find(":memory:") != std::string::npos ||
                                          path.find("mode=memory") != std::string::npos));
}

void ConfigureSqlite(sqlite3* db, const SqliteSettings& settings) {
    sqlite3_extended_result_codes(db, 1);
    sqlite3_busy_timeout(db, settings.busyTimeoutMs);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_FKEY, settings.foreignKeys ? 1 : 0, nullptr);
    // SQLite looks into the file only when it has to; a file that is no database should show up
    // here.
    Pragma(db, "schema_version");
    if (!settings.journalMode.empty()) {
        Pragma(db, "journal_mode=" + settings.journalMode);
    }
    if (!settings.synchronous.empty()) {
        Pragma(db, "synchronous=" + settings.synchronous);
    }
}

SqliteFile OpenSqlite(const SqliteSettings& settings) {
    sqlite3* db = nullptr;
    const int code = sqlite3_open_v2(settings.path.c_str(), &db, settings.openFlags, nullptr);
    const std::shared_ptr<void> owner(
        db, [](void* handle) { sqlite3_close_v2(static_cast<sqlite3*>(handle)); });
    if (code != SQLITE_OK) {
        throw SqliteOpenError(db, code, settings.path);
    }
    ConfigureSqlite(db, settings);
    return {owner, db};
}

}  // namespace CQXDB::adapter::sqlite
