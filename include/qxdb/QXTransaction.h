// How a transaction that lasts over several calls is to be.
#pragma once

namespace CQXDB {

/// The levels of the SQL standard. A database may give a stricter one than asked for:
/// docs/adapter.md tells for each.
enum QXIsolation {
    QXISOLATION_DEFAULT = 0,  ///< as the database is set up
    QXISOLATION_READ_UNCOMMITTED = 1,
    QXISOLATION_READ_COMMITTED = 2,
    QXISOLATION_REPEATABLE_READ = 3,
    QXISOLATION_SERIALIZABLE = 4,
};

struct QXTransactionInfo {
    QXIsolation isolation = QXISOLATION_DEFAULT;
    bool readOnly = false;  ///< a statement that changes something fails
};

}  // namespace CQXDB
