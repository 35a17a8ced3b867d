// The database managers' own error codes.
#pragma once

namespace CQXDB {

/// What errNumber() gives when the error is not the database's own. The codes of SQLite and MySQL
/// and those made of an SQLSTATE are positive; drivers behind ODBC choose their numbers themselves.
enum DBMgrError : long {
    DBMGR_NO_COMMAND = -7001,  ///< a null pointer was passed for the command or the data source
    DBMGR_EMPTY_STATEMENT = -7002,  ///< the text holds no statement
    DBMGR_PARAMETER_COUNT =
        -7003,  ///< the text has another number of "?" than there are parameters
    DBMGR_SEVERAL_STATEMENTS = -7004,  ///< several statements where one is required
    DBMGR_BAD_PAGE = -7005,  ///< a page number below 1, a negative page size, or one of them beyond
                             ///< 32 bits; the last is the agent's own code
    DBMGR_BAD_VALUE = -7006,         ///< a parameter that this database cannot store as it is
    DBMGR_BAD_OPTION = -7007,        ///< a key or value in QXDataSource::options is not understood
    DBMGR_BAD_DATA_SOURCE = -7008,   ///< the description is incomplete or its port is none, or no
                                     ///< connector serves it
    DBMGR_POOL_TIMEOUT = -7009,      ///< all connections of the pool stayed in use for too long
    DBMGR_OPEN_TRANSACTION = -7010,  ///< the command left a transaction open; it was rolled back
    DBMGR_TRANSACTION_CONTROL = -7011,  ///< BEGIN, COMMIT or the like inside a command list
    DBMGR_UNEXPECTED = -7012,           ///< a fault outside the database; the text tells what
    DBMGR_RESULT_TOO_LARGE = -7013,     ///< the rows take up more memory than was allowed
    DBMGR_OUT_OF_MEMORY = -7014,        ///< the process got no memory; also the agent's own code
    DBMGR_CANCELLED = -7015,            ///< ended by Cancellation::Cancel
    DBMGR_TRANSACTION_OVER = -7016,  ///< nothing was run: the transaction that the command belongs
                                     ///< to has ended, or none was begun
    DBMGR_OTHER_DATABASE = -7017,    ///< the transaction is on another database than the command
    DBMGR_OUTCOME_UNKNOWN = -7018,   ///< the answer to a commit was lost; the agent's own code
    DBMGR_IN_TRANSACTION = -7019,    ///< one has begun already; the agent's own code
    DBMGR_NO_CURSOR = -7020,         ///< no such cursor is open, or the statement can have none
};

/// The number that errNumber() gives for an SQLSTATE, which PostgreSQL has for every error and ODBC
/// for those without a number of the driver's own: its five characters, read as digits of base 36.
/// The text begins with the SQLSTATE itself.
constexpr long SqlStateCode(const char* state) noexcept {
    long code = 0;
    for (int i = 0; i < 5 && state[i] != '\0'; ++i) {
        const char c = state[i];
        code = code * 36 + (c >= '0' && c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
    }
    return code;
}

}  // namespace CQXDB
