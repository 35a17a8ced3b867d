// A text of several SQLite statements.
#pragma once

#include <string_view>
#include <vector>

#include "adapter/connection.h"

namespace CQXDB::adapter::sqlite {

class SqliteConnection;

/// Runs its statements as one transaction, which begins behind the leading PRAGMA and ATTACH
/// statements, since those have no effect inside one. A script with BEGIN or COMMIT in it runs as
/// it stands; so does one inside a transaction.
class SqliteScript : public Statement {
  public:
    /// `statements` view the command's text, which outlives the script.
    SqliteScript(SqliteConnection& connection, std::vector<std::string_view> statements);

    QXCounts Execute(const Parameters& parameters) override;
    void Query(const Parameters& parameters, const Page& page, QXRecordset& rs) override;
    std::vector<QXColumnInfo> Describe() override;
    std::unique_ptr<RowCursor> OpenCursor(const Parameters& parameters) override;

  private:
    QXCounts RunFrom(std::size_t first);
    QXCounts RunAsTransaction();

    SqliteConnection& connection_;
    std::vector<std::string_view> statements_;
};

}  // namespace CQXDB::adapter::sqlite
