#include "adapter/page.h"

#include "adapter/database_error.h"

namespace CQXDB::adapter {

Page Page::Of(const QXRecordset& rs, std::size_t maxBytes) {
    const std::int64_t size = rs.pageSize();
    const std::int64_t number = rs.currentPage();
    if (size < 0) {
        throw DatabaseError(DBMGR_BAD_PAGE, "the page size is negative: " + std::to_string(size));
    }
    Page page;
    page.maxBytes = maxBytes;
    if (size == 0) {
        return page;
    }
    if (number < 1) {
        throw DatabaseError(DBMGR_BAD_PAGE,
                            "page numbers count from 1, not " + std::to_string(number));
    }
    page.first = (number - 1) * size;
    page.count = size;
    return page;
}

void Page::RefuseBytes() const {
    throw DatabaseError(DBMGR_RESULT_TOO_LARGE, "the result takes up more than the " +
                                                    std::to_string(maxBytes) + " bytes allowed");
}

}  // namespace CQXDB::adapter
