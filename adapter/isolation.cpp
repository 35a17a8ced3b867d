#include "adapter/isolation.h"

#include "adapter/database_error.h"

namespace CQXDB::adapter {

std::string IsolationText(QXIsolation isolation) {
    switch (isolation) {
        case QXISOLATION_DEFAULT:
            return {};
        case QXISOLATION_READ_UNCOMMITTED:
            return "ISOLATION LEVEL READ UNCOMMITTED";
        case QXISOLATION_READ_COMMITTED:
            return "ISOLATION LEVEL READ COMMITTED";
        case QXISOLATION_REPEATABLE_READ:
            return "ISOLATION LEVEL REPEATABLE READ";
        case QXISOLATION_SERIALIZABLE:
            return "ISOLATION LEVEL SERIALIZABLE";
    }
    throw DatabaseError(DBMGR_BAD_VALUE, "there is no such isolation level");
}

}  // namespace CQXDB::adapter
