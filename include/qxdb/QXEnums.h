// The kinds of data source, of driver and of proxy. All values travel as 32-bit numbers.
#pragma once

#include <cstdint>

namespace CQXDB {

/// Which database a data source describes.
enum CQXDB_DSType_ENUM : std::int32_t {
    CQXDB_DS_EMBEDDED =
        0,  ///< embedded SQLite; `database` is the file path, ":memory:" a private one
    CQXDB_DS_SQLITE = 1,      ///< SQLite through POCO Data; `database` as above
    CQXDB_DS_POSTGRESQL = 2,  ///< PostgreSQL
    CQXDB_DS_MYSQL = 3,       ///< MySQL
    CQXDB_DS_MARIADB = 4,     ///< MariaDB
    CQXDB_DS_SQLSERVER = 5,   ///< SQL Server, through ODBC
    CQXDB_DS_ORACLE = 6,      ///< Oracle, through ODBC
    CQXDB_DS_ODBC = 7,        ///< any ODBC data source name or connection string
};

/// Which connector reaches the database. CQXDB_DRIVER_DEFAULT picks the usual one for the type.
enum CQXDB_DriverType_ENUM : std::int32_t {
    CQXDB_DRIVER_DEFAULT = 0,
    CQXDB_DRIVER_SQLITE = 1,
    CQXDB_DRIVER_POSTGRESQL = 2,
    CQXDB_DRIVER_MYSQL = 3,
    CQXDB_DRIVER_ODBC = 4,
};

/// Type of one value, and of a column whose values all have it. The numbers are wire values.
enum class QXValueType : std::uint8_t {
    Null = 0,  ///< no value; as a column type: nothing but nulls
    Bool = 1,
    Int64 = 2,
    Double = 3,
    Decimal = 4,    ///< exact decimal, kept as text such as "-12.50"
    Text = 5,       ///< Unicode text, kept as UTF-8
    Blob = 6,       ///< bytes
    Date = 7,       ///< days since 1970-01-01, proleptic Gregorian calendar
    Time = 8,       ///< microseconds since midnight; may be negative or above a day for intervals
    Timestamp = 9,  ///< microseconds since 1970-01-01 00:00:00, without a time zone
    Mixed = 10,     ///< column type only: each row has a type of its own
};

/// QXProxyInfo::kind.
enum QXProxyKind : std::int32_t {
    QXPROXY_NONE = 0,
    QXPROXY_HTTP = 1,  ///< HTTP CONNECT, with Basic credentials when `user` is not empty
    QXPROXY_SOCKS4 = 2,
    QXPROXY_SOCKS5 = 3,  ///< with user and password when `user` is not empty
};

}  // namespace CQXDB
