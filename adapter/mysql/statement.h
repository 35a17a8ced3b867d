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

    void Execute(const Parameters& parameters) override;
    void Query(const Parameters& parameters, const Page& page, QXRecordset& rs) override;

  private:
    void Run(const Parameters& parameters);
    [[noreturn]] void Fail();
    /// Reads and drops whatever the statement still has to give, such as the results of a
    /// procedure.
    void Finish();

    MySqlConnection& connection_;
    bool readOnly_;
    Poco::Data::MySQL::StatementExecutor executor_;
};

}  // namespace CQXDB::adapter::mysql
