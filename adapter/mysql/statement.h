// One prepared statement for MySQL or MariaDB.
#pragma once

#include <cstddef>
#include <string>

#include <Poco/Data/MySQL/StatementExecutor.h>

#include "adapter/connection.h"

namespace CQXDB::adapter::mysql {

class MySqlConnection;

class MySqlStatement : public Statement {
  public:
    MySqlStatement(MySqlConnection& connection, const std::string& text);

    QXCounts Execute(const Parameters& parameters) override;
    void Query(const Parameters& parameters, const Page& page, QXRecordset& rs) override;
    void QueryEach(const Parameters& parameters, const Page& page, QXRsList& out) override;
    std::vector<QXColumnInfo> Describe() override;
    std::unique_ptr<RowCursor> OpenCursor(const Parameters& parameters) override;

  private:
    class Cursor;

    void Run(const Parameters& parameters);
    void QueryOne(const Page& page, QXRecordset& rs);
    /// What the result under way changed.
    QXCounts Counts();
    [[noreturn]] void Fail();
    /// Reads and drops whatever the statement still has to give, such as the results of a
    /// procedure, and gives what those changed.
    QXCounts Finish();
    /// Drops what is left of the result under way and goes to the next one, if any.
    bool Next();

    MySqlConnection& connection_;
    bool readOnly_;
    Poco::Data::MySQL::StatementExecutor executor_;
};

}  // namespace CQXDB::adapter::mysql
