#include "adapter/odbc/connection.h"

#include <optional>
#include <utility>

#include "adapter/isolation.h"
#include "adapter/odbc/statement.h"
#include "adapter/odbc/text.h"
#include "adapter/statement_text.h"

namespace CQXDB::adapter::odbc {
namespace {

bool Has(const std::string& text, const char* part) noexcept {
    return text.find(part) != std::string::npos;
}

const SqlDialect& DialectOf(const std::string& database) noexcept {
    if (Has(database, "SQLite")) {
        return kSqliteDialect;
    }
    if (Has(database, "PostgreSQL")) {
        return kPostgreSqlDialect;
    }
    if (Has(database, "MySQL") || Has(database, "MariaDB")) {
        return kMySqlDialect;
    }
    return Has(database, "SQL Server") ? kSqlServerDialect : kOdbcDialect;
}

std::string ProbeOf(const std::string& database) {
    return Has(database, "Oracle")     ? "SELECT 1 FROM DUAL"
           : Has(database, "DB2")      ? "SELECT 1 FROM SYSIBM.SYSDUMMY1"
           : Has(database, "Firebird") ? "SELECT 1 FROM RDB$DATABASE"
                                       : "SELECT 1";
}

}  // namespace

OdbcConnection::OdbcConnection(std::unique_ptr<Handle> handle, std::uintptr_t statementSeconds)
    : handle_(std::move(handle)), statementSeconds_(statementSeconds) {
    const std::string database = DatabaseName();
    dialect_ = &DialectOf(database);
    probe_ = ProbeOf(database);
    if (dialect_ == &kSqliteDialect) {
        unused_ = std::make_unique<const Poco::Data::ODBC::StatementHandle>(*handle_);
    }
}

std::string OdbcConnection::DatabaseName() const {
    SQLWCHAR name[256] = {};
    SQLSMALLINT bytes = 0;
    const SQLRETURN code =
        SQLGetInfoW(*handle_, SQL_DBMS_NAME, name, sizeof name - sizeof *name, &bytes);
    return OdbcFailed(code) ? std::string() : FromOdbcText(name);
}

std::shared_ptr<Statement> OdbcConnection::Prepare(const std::string& text) {
    return std::make_shared<OdbcStatement>(*this, text, false);
}

std::shared_ptr<Statement> OdbcConnection::PrepareScript(const std::string& text) {
    return std::make_shared<OdbcStatement>(*this, text, true);
}

void OdbcConnection::Begin(TransactionKind) {
    SetAutocommit(false);
    began_ = true;
}

void OdbcConnection::BeginLasting(const QXTransactionInfo& info) {
    changed_ = info.isolation != QXISOLATION_DEFAULT || info.readOnly;
    undone_ = false;
    SetLevel(info.isolation);
    if (info.readOnly) {
        SetReadOnly();
    }
    Begin(TransactionKind::Write);
}

void OdbcConnection::SetLevel(QXIsolation isolation) {
    if (IsolationText(isolation).empty() || dialect_ == &kSqliteDialect) {
        return;  // SQLite has one level, and its driver no attribute
    }
    static constexpr std::uintptr_t kLevels[] = {SQL_TXN_READ_UNCOMMITTED, SQL_TXN_READ_COMMITTED,
                                                 SQL_TXN_REPEATABLE_READ, SQL_TXN_SERIALIZABLE};
    const std::uintptr_t level = kLevels[isolation - QXISOLATION_READ_UNCOMMITTED];
    CheckConnection(
        SQLSetConnectAttrW(*handle_, SQL_ATTR_TXN_ISOLATION, OdbcNumber(level), SQL_IS_UINTEGER));
}

/// For the whole session, since drivers begin a transaction, and set savepoints in it, when they
/// like.
void OdbcConnection::SetReadOnly() {
    if (dialect_ == &kSqliteDialect) {
        RunText("PRAGMA query_only = 1");
    } else if (dialect_ == &kPostgreSqlDialect) {
        RunText("SET SESSION CHARACTERISTICS AS TRANSACTION READ ONLY");
    } else if (dialect_ == &kMySqlDialect) {
        RunText("SET SESSION TRANSACTION READ ONLY");
    } else {
        throw DatabaseError(DBMGR_BAD_VALUE,
                            "transactions that only read are not available for this database "
                            "through ODBC");
    }
}

void OdbcConnection::RunText(const std::string& text) {
    OdbcStatement(*this, text, false).Execute({});
}

bool OdbcConnection::Recover() noexcept {
    cancelled_.Clear();
    return HoldsTransaction();
}

void OdbcConnection::Commit() {
    CheckConnection(SQLEndTran(SQL_HANDLE_DBC, *handle_, SQL_COMMIT));
    SetAutocommit(true);
    began_ = false;
}

void OdbcConnection::Rollback() noexcept {
    // A transaction that a text began is the server's affair, which ends it with the connection.
    broken_ = broken_ || userBegan_;
    if (!began_) {
        return;
    }
    began_ = false;
    broken_ = broken_ || OdbcFailed(SQLEndTran(SQL_HANDLE_DBC, *handle_, SQL_ROLLBACK));
    try {
        SetAutocommit(true);
    } catch (...) {
        broken_ = true;
    }
}

void OdbcConnection::SetAutocommit(bool on) {
    const std::uintptr_t mode = on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF;
    CheckConnection(
        SQLSetConnectAttrW(*handle_, SQL_ATTR_AUTOCOMMIT, OdbcNumber(mode), SQL_IS_UINTEGER));
}

bool OdbcConnection::Alive() noexcept {
    try {
        RunText(probe_);
    } catch (...) {
        return false;
    }
    return !broken_;
}

void OdbcConnection::Cancel() noexcept {
    cancelled_.Set();
    const std::lock_guard<std::mutex> lock(mutex_);
    if (running_ != SQL_NULL_HSTMT) {
        SQLCancel(unused_ ? unused_->handle() : running_);
    }
}

OdbcConnection::Running::Running(OdbcConnection& connection, SQLHSTMT statement)
    : connection_(connection) {
    const std::lock_guard<std::mutex> lock(connection_.mutex_);
    connection_.running_ = statement;
}

OdbcConnection::Running::~Running() {
    const std::lock_guard<std::mutex> lock(connection_.mutex_);
    connection_.running_ = SQL_NULL_HSTMT;
}

void OdbcConnection::Watch(const std::string& text) {
    for (const std::string_view statement : SplitStatements(text, *dialect_)) {
        if (ControlsTransaction(statement, *dialect_)) {
            const std::string word = FirstWord(statement, *dialect_);
            userBegan_ = word == "BEGIN" || word == "START";
        }
    }
}

void OdbcConnection::CheckConnection(SQLRETURN code) {
    if (OdbcFailed(code)) {
        ThrowError(SQL_HANDLE_DBC, *handle_);
    }
}

void OdbcConnection::Check(SQLHSTMT statement, SQLRETURN code) {
    if (OdbcFailed(code)) {
        ThrowError(SQL_HANDLE_STMT, statement);
    }
}

void OdbcConnection::CheckRun(SQLHSTMT statement, SQLRETURN code) {
    Check(statement, code);
    for (SQLSMALLINT i = 1; code == SQL_SUCCESS_WITH_INFO && report_ != nullptr; ++i) {
        const std::optional<OdbcDiagnosis> said = OdbcDiagnosis::At(SQL_HANDLE_STMT, statement, i);
        if (!said || !report_->TakesNotices()) {
            return;
        }
        report_->AddNotice("WARNING", said->Error(true).Code(), said->message);
    }
}

void OdbcConnection::ThrowError(SQLSMALLINT handleType, SQLHANDLE handle) {
    const OdbcDiagnosis diagnosis = OdbcDiagnosis::Of(handleType, handle);
    broken_ = broken_ || diagnosis.ConnectionLost();
    undone_ = undone_ || diagnosis.UndoesTransaction(dialect_ == &kSqliteDialect);
    throw diagnosis.Error(dialect_ == &kPostgreSqlDialect);
}

}  // namespace CQXDB::adapter::odbc
