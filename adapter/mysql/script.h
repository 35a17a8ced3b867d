// What Execute runs on MySQL or MariaDB: one statement with parameters, or a script without.
#pragma once

#include <memory>
#include <string>

#include "adapter/connection.h"

namespace CQXDB::adapter::mysql {

class MySqlConnection;

/// Several statements run as one transaction, in which MySQL commits at every CREATE, ALTER or
/// DROP.
class MySqlScript : public Statement {
  public:
    /// `text` must outlive the script.
    MySqlScript(MySqlConnection& connection, const std::string& text);

    QXCounts Execute(const Parameters& parameters) override;
    void Query(const Parameters& parameters, const Page& page, QXRecordset& rs) override;
    std::vector<QXColumnInfo> Describe() override { return Prepared().Describe(); }
    std::unique_ptr<RowCursor> OpenCursor(const Parameters& parameters) override {
        return Prepared().OpenCursor(parameters);
    }

  private:
    Statement& Prepared();
    QXCounts RunText();

    MySqlConnection& connection_;
    const std::string& text_;
    std::shared_ptr<Statement> prepared_;  ///< made when parameters come
};

}  // namespace CQXDB::adapter::mysql
