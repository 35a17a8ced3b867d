// ODBC's return codes and diagnostics as DatabaseError.
#pragma once

#include <optional>
#include <string>

#include "adapter/database_error.h"
#include "adapter/odbc/api.h"

namespace CQXDB::adapter::odbc {

struct OdbcDiagnosis {
    std::string state;  ///< SQLSTATE
    long native = 0;
    std::string message;

    /// The first, most important record of a handle.
    static OdbcDiagnosis Of(SQLSMALLINT handleType, SQLHANDLE handle);
    /// Record `number`, from 1, if there is one.
    static std::optional<OdbcDiagnosis> At(SQLSMALLINT handleType, SQLHANDLE handle,
                                           SQLSMALLINT number);
    /// True when the connection is of no further use.
    bool ConnectionLost() const noexcept { return state.compare(0, 2, "08") == 0; }
    /// True when the database, which may be SQLite, has rolled all of the transaction back.
    bool UndoesTransaction(bool sqlite) const noexcept;
    /// The driver's own number, or that of the SQLSTATE where the driver gives none or where the
    /// SQLSTATE is the database's own code.
    DatabaseError Error(bool byState = false) const;
};

inline bool OdbcFailed(SQLRETURN code) noexcept {
    return code != SQL_SUCCESS && code != SQL_SUCCESS_WITH_INFO && code != SQL_NO_DATA;
}

}  // namespace CQXDB::adapter::odbc
