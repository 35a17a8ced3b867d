// A query whose rows the server keeps until they are asked for.
#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>

#include "adapter/portion.h"
#include "adapter/postgresql/connection.h"
#include "adapter/postgresql/parameters.h"
#include "adapter/postgresql/rows.h"
#include "adapter/postgresql/statement.h"
#include "adapter/statement_checks.h"

namespace CQXDB::adapter::postgresql {
namespace {

/// Rows to begin a portion with, until it shows how large they are.
constexpr std::int64_t kFirstRows = 64;

class PgCursor : public RowCursor {
  public:
    /// The cursor of that name is open.
    PgCursor(PgConnection& connection, std::string name)
        : connection_(connection), name_(std::move(name)) {}
    PgCursor(const PgCursor&) = delete;
    PgCursor& operator=(const PgCursor&) = delete;
    ~PgCursor() override {
        try {
            connection_.CloseCursor(name_);
        } catch (...) {
            // Goes with the transaction.
        }
    }

    void Fetch(const Page& page, QXRecordset& rs) override {
        Page whole;
        whole.maxBytes = page.maxBytes;
        PgPageReader reader(whole, 0, rs);
        std::int64_t asked = std::min(page.count, kFirstRows);
        while (asked > 0) {
            const auto before = static_cast<std::int64_t>(rs.RowCount());
            connection_.RunText("FETCH FORWARD " + std::to_string(asked) + " FROM " + name_,
                                std::ref(reader));
            const auto rows = static_cast<std::int64_t>(rs.RowCount());
            asked = rows - before < asked ? 0 : std::min(page.count - rows, RoomFor(rs));
        }
        rs.FillDone();
    }

  private:
    /// How many more of its rows a portion takes.
    static std::int64_t RoomFor(const QXRecordset& rs) {
        const std::size_t bytes = rs.MemoryBytes();
        const std::size_t each = bytes / rs.RowCount() + 1;
        return bytes >= kPortionBytes ? 0
                                      : static_cast<std::int64_t>((kPortionBytes - bytes) / each);
    }

    PgConnection& connection_;
    const std::string name_;
};

}  // namespace

std::unique_ptr<RowCursor> PgStatement::OpenCursor(const Parameters& parameters) {
    CheckParameterCount(native_.parameters, parameters.size());
    // The rows are read to the end as a rule, for which the planner shall plan.
    connection_.RunText("SET LOCAL cursor_tuple_fraction = 1");
    std::string name = connection_.NewCursorName();
    connection_.RunStatement(this, "DECLARE " + name + " NO SCROLL CURSOR FOR " + native_.sql,
                             PgParameters(parameters));
    connection_.Forget(this);
    return std::make_unique<PgCursor>(connection_, std::move(name));
}

}  // namespace CQXDB::adapter::postgresql
