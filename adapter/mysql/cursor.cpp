// A query whose rows the server keeps until they are asked for.
#include <algorithm>
#include <cstdint>
#include <optional>

#include "adapter/mysql/connection.h"
#include "adapter/mysql/rows.h"
#include "adapter/mysql/statement.h"
#include "adapter/portion.h"

namespace CQXDB::adapter::mysql {
namespace {

// Rows that the client library takes from the server at a time.
constexpr std::size_t kFirstRows = 64;
constexpr std::size_t kMostRows = 10000;

}  // namespace

class MySqlStatement::Cursor : public RowCursor {
  public:
    Cursor(MySqlStatement& statement, const Parameters& parameters) : statement_(statement) {
        const unsigned long cursor = CURSOR_TYPE_READ_ONLY;
        mysql_stmt_attr_set(Native(), STMT_ATTR_CURSOR_TYPE, &cursor);
        FetchAtOnce(kFirstRows);
        statement.Run(parameters);
        portion_.emplace([this](QXRecordset& rows) {
            reader_.emplace(statement_.connection_.Handle(), Native(), rows);
        });
    }
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;
    ~Cursor() override { mysql_stmt_free_result(Native()); }

    void Fetch(const Page& page, QXRecordset& rs) override {
        statement_.connection_.CheckCancelled();
        const auto next = [this] {
            more_ = more_ && reader_->HasColumns() && reader_->Fetch();
            if (more_) {
                reader_->Append();
            }
            return more_;
        };
        portion_->Fill(page, next, rs);
        if (rs.RowCount() != 0) {
            const std::size_t each = rs.MemoryBytes() / rs.RowCount() + 1;
            FetchAtOnce(std::clamp<std::size_t>(kPortionBytes / each, 1, kMostRows));
        }
    }

  private:
    MYSQL_STMT* Native() { return statement_.executor_; }
    void FetchAtOnce(std::size_t rows) {
        const auto count = static_cast<unsigned long>(rows);
        mysql_stmt_attr_set(Native(), STMT_ATTR_PREFETCH_ROWS, &count);
    }

    MySqlStatement& statement_;
    bool more_ = true;
    std::optional<MySqlRowReader> reader_;
    std::optional<Portion> portion_;
};

std::unique_ptr<RowCursor> MySqlStatement::OpenCursor(const Parameters& parameters) {
    return std::make_unique<Cursor>(*this, parameters);
}

}  // namespace CQXDB::adapter::mysql
