// A query whose rows are taken from the driver in portions. Whether the driver keeps those to come,
// or leaves them to the database, is a setting of it.
#include <optional>

#include "adapter/odbc/connection.h"
#include "adapter/odbc/rows.h"
#include "adapter/odbc/statement.h"
#include "adapter/portion.h"

namespace CQXDB::adapter::odbc {

class OdbcStatement::Cursor : public RowCursor {
  public:
    Cursor(OdbcStatement& statement, const Parameters& parameters) : statement_(statement) {
        const OdbcConnection::Running running(statement.connection_, statement.handle_);
        statement.Start(parameters);
        portion_.emplace([this](QXRecordset& rows) {
            reader_.emplace(statement_.connection_, statement_.handle_, rows);
        });
    }
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;
    ~Cursor() override { SQLFreeStmt(statement_.handle_, SQL_CLOSE); }

    void Fetch(const Page& page, QXRecordset& rs) override {
        const OdbcConnection::Running running(statement_.connection_, statement_.handle_);
        const auto next = [this] {
            more_ = more_ && reader_->HasColumns() && reader_->Fetch();
            if (more_) {
                reader_->Append();
            }
            return more_;
        };
        portion_->Fill(page, next, rs);
    }

  private:
    OdbcStatement& statement_;
    bool more_ = true;
    std::optional<OdbcRowReader> reader_;
    std::optional<Portion> portion_;
};

std::unique_ptr<RowCursor> OdbcStatement::OpenCursor(const Parameters& parameters) {
    return std::make_unique<Cursor>(*this, parameters);
}

}  // namespace CQXDB::adapter::odbc
