// One statement, or script, for an ODBC driver.
#pragma once

#include <string>

#include <Poco/Data/ODBC/Handle.h>

#include "adapter/connection.h"
#include "adapter/odbc/errors.h"

namespace CQXDB::adapter::odbc {

class OdbcConnection;

class OdbcStatement : public Statement {
  public:
    /// A script may hold several statements when it runs without parameters. `text` must outlive
    /// it.
    OdbcStatement(OdbcConnection& connection, const std::string& text, bool script);

    QXCounts Execute(const Parameters& parameters) override;
    void Query(const Parameters& parameters, const Page& page, QXRecordset& rs) override;
    void QueryEach(const Parameters& parameters, const Page& page, QXRsList& out) override;
    std::vector<QXColumnInfo> Describe() override;
    std::unique_ptr<RowCursor> OpenCursor(const Parameters& parameters) override;

  private:
    class Cursor;

    /// Runs the statement up to its first result; it is prepared when it runs for the first time.
    void Start(const Parameters& parameters);
    void Prepare();
    QXCounts RunText(std::string_view text);
    QXCounts RunScript();
    QXColumnInfo DescribeColumn(SQLUSMALLINT index);
    std::wstring Attribute(SQLUSMALLINT index, SQLUSMALLINT attribute);
    std::int64_t NumberAttribute(SQLUSMALLINT index, SQLUSMALLINT attribute);
    /// What the result under way changed.
    QXCounts Counts();
    /// Goes to the next result, if any.
    bool Next();
    void LimitRows(const Page& page);
    /// Drops what the statement still has to give, and gives what that changed.
    QXCounts Finish();
    void Check(SQLRETURN code);

    OdbcConnection& connection_;
    const std::string& text_;
    bool script_;
    bool prepared_ = false;
    std::size_t parameterCount_;
    const Poco::Data::ODBC::StatementHandle handle_;
};

}  // namespace CQXDB::adapter::odbc
