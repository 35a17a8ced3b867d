#include "adapter/sqlite/format.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "adapter/sqlite/own_function.h"
#include "adapter/sqlite/session.h"
#include "util/ascii.h"

namespace CQXDB::adapter::sqlite {
namespace {

constexpr int kLongestFormat = 1 << 20;
constexpr std::size_t kMuch = 4096;  ///< bytes that are worth giving back between calls

/// How often %c may be told to repeat its character; SQLite does so one by one, whatever the limit
/// on a text's length.
constexpr long kMostRepeated = 10000;

/// The precision at the beginning of `format`, which it is cut off of; beyond every limit for one
/// that an argument tells.
long TakePrecision(std::string_view& format) {
    long precision = 0;
    for (; !format.empty() && (CQXBASE::IsAsciiDigit(format.front()) || format.front() == '*');
         format.remove_prefix(1)) {
        precision = format.front() == '*'
                        ? kMostRepeated + 1
                        : std::min(10 * precision + format.front() - '0', kMostRepeated + 1);
    }
    return precision;
}

bool RepeatsWithoutEnd(std::string_view format) {
    while (true) {
        const std::size_t percent = format.find('%');
        if (percent == std::string_view::npos) {
            return false;
        }
        format.remove_prefix(percent + 1);
        long precision = 0;
        format.remove_prefix(
            std::min(format.find_first_not_of("-+ #0,!123456789*"), format.size()));
        if (!format.empty() && format.front() == '.') {
            format.remove_prefix(1);
            precision = TakePrecision(format);
        }
        format.remove_prefix(std::min(format.find_first_not_of('l'), format.size()));
        if (!format.empty() && format.front() == 'c' && precision > kMostRepeated) {
            return true;
        }
        format.remove_prefix(std::min<std::size_t>(1, format.size()));
    }
}

void Format(sqlite3_context* context, int count, sqlite3_value** arguments) {
    if (count == 0 || sqlite3_value_type(arguments[0]) == SQLITE_NULL) {
        return;
    }
    const auto* const text = reinterpret_cast<const char*>(sqlite3_value_text(arguments[0]));
    if (text == nullptr) {
        sqlite3_result_error_nomem(context);
        return;
    }
    const int size = sqlite3_value_bytes(arguments[0]);
    if (size > kLongestFormat ||
        RepeatsWithoutEnd(std::string_view(text, static_cast<std::size_t>(size)))) {
        sqlite3_result_error_toobig(context);
        return;
    }
    static_cast<SqliteSession*>(sqlite3_user_data(context))->format.Call(context, count, arguments);
}

}  // namespace

sqlite3_stmt* SqliteFormat::StatementFor(sqlite3* caller, int count, int& code) {
    if (db_ == nullptr) {
        sqlite3* opened = nullptr;
        code = sqlite3_open_v2(":memory:", &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                               nullptr);
        std::unique_ptr<sqlite3, Close> owner(opened);
        if (code != SQLITE_OK) {
            return nullptr;
        }
        sqlite3_limit(opened, SQLITE_LIMIT_LENGTH, sqlite3_limit(caller, SQLITE_LIMIT_LENGTH, -1));
        db_ = std::move(owner);
    }
    auto& statement = statements_[count];
    if (statement == nullptr) {
        std::string text = "SELECT printf(?";
        for (int i = 1; i < count; ++i) {
            text += ",?";
        }
        sqlite3_stmt* prepared = nullptr;
        code = sqlite3_prepare_v2(db_.get(), (text + ")").c_str(), -1, &prepared, nullptr);
        statement.reset(prepared);
    }
    return statement.get();
}

void SqliteFormat::Call(sqlite3_context* context, int count, sqlite3_value** arguments) {
    int code = SQLITE_NOMEM;
    try {
        if (sqlite3_stmt* const statement =
                StatementFor(sqlite3_context_db_handle(context), count, code)) {
            code = SQLITE_OK;
            std::size_t bytes = 0;
            for (int i = 0; i < count && code == SQLITE_OK; ++i) {
                code = sqlite3_bind_value(statement, i + 1, arguments[i]);
                const int type = sqlite3_value_type(arguments[i]);
                if (type == SQLITE_TEXT || type == SQLITE_BLOB) {
                    bytes += static_cast<std::size_t>(sqlite3_value_bytes(arguments[i]));
                }
            }
            code = code == SQLITE_OK ? sqlite3_step(statement) : code;
            if (code == SQLITE_ROW) {
                sqlite3_result_value(context, sqlite3_column_value(statement, 0));
                bytes += static_cast<std::size_t>(sqlite3_column_bytes(statement, 0));
            }
            sqlite3_reset(statement);
            sqlite3_clear_bindings(statement);
            if (bytes > kMuch) {
                statements_.erase(count);
            }
        }
    } catch (const std::bad_alloc&) {
        code = SQLITE_NOMEM;
    }
    if (code != SQLITE_ROW) {
        sqlite3_result_error_code(context, code);
    }
}

void ReplaceFormat(SqliteSession& session) {
    constexpr OwnFunction kFunctions[] = {{"printf", -1, Format}, {"format", -1, Format}};
    ReplaceFunctions(session, kFunctions);
}

}  // namespace CQXDB::adapter::sqlite
