// MySQL's and MariaDB's errors as DatabaseError.
#pragma once

#include <mysql/errmsg.h>
#include <mysql/mysql.h>

#include "adapter/database_error.h"

namespace CQXDB::adapter::mysql {

/// The connection's last error.
inline DatabaseError MySqlError(MYSQL* connection) {
    const unsigned code = mysql_errno(connection);
    return {code != 0 ? static_cast<long>(code) : CR_UNKNOWN_ERROR, mysql_error(connection)};
}

/// The error of a statement. One that the server sends in the middle of a result is found on the
/// connection only.
inline DatabaseError MySqlError(MYSQL* connection, MYSQL_STMT* statement) {
    if (mysql_errno(connection) != 0) {
        return MySqlError(connection);
    }
    const unsigned code = mysql_stmt_errno(statement);
    return {code != 0 ? static_cast<long>(code) : CR_UNKNOWN_ERROR, mysql_stmt_error(statement)};
}

/// True for the codes after which a connection is of no further use.
constexpr bool MeansConnectionLost(unsigned code) noexcept {
    constexpr unsigned kConnectionKilled = 1927;
    constexpr unsigned kServerGone = 2006;
    constexpr unsigned kServerLost = 2013;
    constexpr unsigned kServerLostExtended = 2055;
    constexpr unsigned kIdleTooLong = 4031;
    return code == kConnectionKilled || code == kServerGone || code == kServerLost ||
           code == kServerLostExtended || code == kIdleTooLong;
}

}  // namespace CQXDB::adapter::mysql
