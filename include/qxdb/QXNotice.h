// What a database says beside its result: notices and warnings.
#pragma once

#include <string>

namespace CQXDB {

struct QXNotice {
    /// The database's own word: NOTICE, WARNING, INFO, DEBUG, LOG (PostgreSQL), Note, Warning,
    /// Error (MySQL); "WARNING" through ODBC.
    std::wstring level;
    /// The database's number, or its SQLSTATE as SqlStateCode makes one of it.
    long code = 0;
    std::wstring text;
};

}  // namespace CQXDB
