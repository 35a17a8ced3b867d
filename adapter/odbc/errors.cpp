#include "adapter/odbc/errors.h"

#include <string_view>

#include "adapter/odbc/text.h"

namespace CQXDB::adapter::odbc {

std::optional<OdbcDiagnosis> OdbcDiagnosis::At(SQLSMALLINT handleType, SQLHANDLE handle,
                                               SQLSMALLINT number) {
    SQLWCHAR state[SQL_SQLSTATE_SIZE + 1] = {};
    SQLWCHAR text[SQL_MAX_MESSAGE_LENGTH * 4] = {};
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    const SQLRETURN code = SQLGetDiagRecW(handleType, handle, number, state, &native, text,
                                          static_cast<SQLSMALLINT>(std::size(text)), &length);
    if (OdbcFailed(code) || code == SQL_NO_DATA) {
        return std::nullopt;
    }
    // The length is that of the whole message, which the buffer may not hold.
    return OdbcDiagnosis{FromOdbcText(state), native, FromOdbcText(text)};
}

OdbcDiagnosis OdbcDiagnosis::Of(SQLSMALLINT handleType, SQLHANDLE handle) {
    return At(handleType, handle, 1)
        .value_or(
            OdbcDiagnosis{"HY000", 0, "the ODBC driver reports an error without telling which"});
}

bool OdbcDiagnosis::UndoesTransaction(bool sqlite) const noexcept {
    // No memory, interrupted, a file's fault, no room: what makes SQLite give up all.
    const bool givenUp = native == 7 || native == 9 || native == 10 || native == 13;
    return state.compare(0, 2, "40") == 0 || (sqlite && givenUp);
}

DatabaseError OdbcDiagnosis::Error(bool byState) const {
    return {native != 0 && !byState ? native : SqlStateCode(state.c_str()), state + ": " + message};
}

}  // namespace CQXDB::adapter::odbc
