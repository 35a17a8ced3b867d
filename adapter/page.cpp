#include "adapter/page.h"

#include "adapter/database_error.h"

namespace CQXDB::adapter {

Page Page::Of(const QXRecordset& rs) {
    const std::int64_t size = rs.pageSize();
    const std::int64_t number = rs.currentPage();
    if (size < 0) {
        throw DatabaseError(DBMGR_BAD_PAGE, "the page size is negative: " + std::to_string(size));
    }
    if (size == 0) {
        return {};
    }
    if (number < 1) {
        throw DatabaseError(DBMGR_BAD_PAGE,
                            "page numbers count from 1, not " + std::to_string(number));
    }
    return {(number - 1) * size, size};
}

}  // namespace CQXDB::adapter
