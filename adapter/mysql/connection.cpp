#include "adapter/mysql/connection.h"

#include <cstdlib>
#include <utility>

#include <mysqld_error.h>

#include "adapter/isolation.h"
#include "adapter/mysql/errors.h"
#include "adapter/mysql/script.h"
#include "adapter/mysql/statement.h"
#include "adapter/statement_checks.h"

namespace CQXDB::adapter::mysql {
namespace {

/// How often a statement is asked to end before its connection is ended.
constexpr int kPoliteRequests = 2;

/// First byte of the packet behind a result's rows; the number of warnings comes next.
constexpr unsigned char kEndOfRows = 0xFE;

}  // namespace

MySqlConnection::MySqlConnection(std::unique_ptr<Session> session,
                                 std::chrono::milliseconds statementTimeout, Reconnect reconnect)
    : session_(std::move(session)),
      statementTimeout_(statementTimeout),
      reconnect_(std::move(reconnect)),
      thread_(mysql_thread_id(Handle())) {
    SetUp();
}

void MySqlConnection::SetUp() {
    if (mysql_set_server_option(Handle(), MYSQL_OPTION_MULTI_STATEMENTS_ON) != 0) {
        throw MySqlError(Handle());
    }
    if (statementTimeout_.count() > 0) {
        const std::string milliseconds = std::to_string(statementTimeout_.count());
        RunText(mariadb_connection(Handle()) != 0
                    ? "SET SESSION max_statement_time = " + milliseconds + " / 1000"
                    : "SET SESSION max_execution_time = " + milliseconds);
    }
}

std::shared_ptr<Statement> MySqlConnection::Prepare(const std::string& text) {
    // Not kept for later: the client library hangs when a table has got more columns since.
    return std::make_shared<MySqlStatement>(*this, text);
}

std::shared_ptr<Statement> MySqlConnection::PrepareScript(const std::string& text) {
    return std::make_shared<MySqlScript>(*this, text);
}

const SqlDialect& MySqlConnection::Dialect() const noexcept {
    const bool plain = (Handle()->server_status & SERVER_STATUS_NO_BACKSLASH_ESCAPES) != 0;
    return plain ? kMySqlPlainDialect : kMySqlDialect;
}

void MySqlConnection::Begin(TransactionKind) {
    RunText("START TRANSACTION");
}

void MySqlConnection::BeginLasting(const QXTransactionInfo& info) {
    const std::string level = IsolationText(info.isolation);
    try {
        RunText((level.empty() ? "" : "SET TRANSACTION " + level + "; ") +
                (info.readOnly ? "START TRANSACTION READ ONLY" : "START TRANSACTION"));
    } catch (...) {
        GiveUp();  // the level would be the next transaction's
        throw;
    }
}

bool MySqlConnection::Connected() noexcept {
    return !MeansConnectionLost(mysql_errno(Handle()));
}

bool MySqlConnection::Recover() noexcept {
    if (givenUp_ || requests_ > kPoliteRequests || !HoldsTransaction()) {
        return false;
    }
    if (std::exchange(killed_, false) || cancelled_.IsSet()) {
        requests_ = 0;
        cancelled_.Clear();
        // Meets the request in place of the next statement, if that came too late for the last one.
        mysql_query(Handle(), "DO 0");
    }
    return HoldsTransaction();
}

void MySqlConnection::Commit() {
    RunText("COMMIT");
}

void MySqlConnection::Rollback() noexcept {
    givenUp_ = givenUp_ || mysql_rollback(Handle()) != 0;
    if ((Handle()->server_status & SERVER_STATUS_AUTOCOMMIT) == 0) {
        mysql_autocommit(Handle(), 1);
    }
}

bool MySqlConnection::InTransaction() noexcept {
    const unsigned status = Handle()->server_status;
    return (status & SERVER_STATUS_IN_TRANS) != 0 || (status & SERVER_STATUS_AUTOCOMMIT) == 0;
}

void MySqlConnection::UseDatabase(const std::string& name) {
    RefuseNul(name, "database");
    // The server tells of a USE statement, so that `db` is where the connection stands.
    const char* current = Handle()->db;
    const bool there = name.empty() || (current != nullptr && name == current);
    if (!there && mysql_select_db(Handle(), name.c_str()) != 0) {
        // Who has dropped the database under the connection may make it anew.
        const bool dropped = mysql_errno(Handle()) == ER_BAD_DB_ERROR && name == database_;
        if (!dropped) {
            throw MySqlError(Handle());
        }
    }
    database_ = name;
}

bool MySqlConnection::Alive() noexcept {
    return mysql_ping(Handle()) == 0;
}

void MySqlConnection::Cancel() noexcept {
    cancelled_.Set();
    Kill(++requests_ <= kPoliteRequests ? "KILL QUERY " : "KILL ");
}

void MySqlConnection::EndStatement() noexcept {
    killed_ = true;
    Kill("KILL QUERY ");
}

void MySqlConnection::Kill(const std::string& what) noexcept {
    try {
        const std::unique_ptr<Session> other = reconnect_();
        mysql_query(*other, (what + std::to_string(thread_)).c_str());
    } catch (...) {
        // The server can't be reached, or has no room for one more.
    }
}

bool MySqlConnection::Usable() noexcept {
    return !givenUp_ && !killed_ && !cancelled_.IsSet() &&
           Handle()->net.max_packet <= kMostBufferBytes && Connected() && !InTransaction();
}

QXCounts MySqlConnection::RunText(const std::string& text) {
    CheckCancelled();
    if (mysql_real_query(Handle(), text.data(), static_cast<unsigned long>(text.size())) != 0) {
        throw MySqlError(Handle());
    }
    QXCounts counts;
    unsigned warnings = 0;
    int more = 0;
    do {
        if (mysql_field_count(Handle()) == 0) {
            counts += {static_cast<std::int64_t>(mysql_affected_rows(Handle())),
                       static_cast<std::int64_t>(mysql_insert_id(Handle()))};
        }
        DropRows();
        warnings = mysql_warning_count(Handle());
        more = mysql_next_result(Handle());
    } while (more == 0);
    if (more > 0) {
        throw MySqlError(Handle());
    }
    CollectWarnings(warnings);
    return counts;
}

unsigned MySqlConnection::WarningsBehindRows() {
    const unsigned char* packet = Handle()->net.read_pos;
    return packet != nullptr && packet[0] == kEndOfRows ? packet[1] + packet[2] * 256U : 0;
}

void MySqlConnection::CollectWarnings(unsigned count) {
    if (count == 0 || report_ == nullptr || !report_->TakesNotices() ||
        (Handle()->server_status & SERVER_MORE_RESULTS_EXIST) != 0) {
        return;
    }
    // What fails here is no failure of the statement.
    if (mysql_query(Handle(), "SHOW WARNINGS LIMIT 100") != 0) {
        return;
    }
    const std::unique_ptr<MYSQL_RES, void (*)(MYSQL_RES*)> rows(mysql_store_result(Handle()),
                                                                mysql_free_result);
    while (MYSQL_ROW row = rows ? mysql_fetch_row(rows.get()) : nullptr) {
        if (row[0] != nullptr && row[1] != nullptr && row[2] != nullptr) {
            report_->AddNotice(row[0], std::strtol(row[1], nullptr, 10), row[2]);
        }
    }
}

void MySqlConnection::DropRows() {
    MYSQL_RES* rows = mysql_use_result(Handle());
    if (rows == nullptr) {
        return;
    }
    while (mysql_fetch_row(rows) != nullptr) {
    }
    mysql_free_result(rows);
    if (mysql_errno(Handle()) != 0) {
        throw MySqlError(Handle());
    }
}

}  // namespace CQXDB::adapter::mysql
