// One statement, or script, for PostgreSQL.
#pragma once

#include <string>

#include "adapter/connection.h"
#include "adapter/statement_text.h"

namespace CQXDB::adapter::postgresql {

class PgConnection;

class PgStatement : public Statement {
  public:
    /// A script may hold several statements when it runs without parameters.
    PgStatement(PgConnection& connection, const std::string& text, bool script);
    ~PgStatement() override;

    QXCounts Execute(const Parameters& parameters) override;
    void ExecuteSoon(const Parameters& parameters, QXCountList& counts) override;
    void Query(const Parameters& parameters, const Page& page, QXRecordset& rs) override;
    std::vector<QXColumnInfo> Describe() override;
    std::unique_ptr<RowCursor> OpenCursor(const Parameters& parameters) override;

  private:
    /// Runs what may be a script if it is to run as one; false, and nothing run, otherwise.
    bool RanAsScript(const Parameters& parameters);
    void QueryAll(const Parameters& parameters, const Page& page, QXRecordset& rs);
    void QueryPage(const Parameters& parameters, const Page& page, QXRecordset& rs);

    PgConnection& connection_;
    NativeText native_;
    bool script_;
};

}  // namespace CQXDB::adapter::postgresql
