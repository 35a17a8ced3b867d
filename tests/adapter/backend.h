// The databases that the contract of the managers is tried on.
#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <qxdb/Cancellation.h>
#include <qxdb/DBMgr.h>
#include <qxdb/DBMgrWithPOCO.h>

namespace qxdb_test {

/// What a manager's last call left behind.
struct Outcome {
    long code = 0;
    std::wstring text;
    bool ok() const noexcept { return code == 0; }
};
std::ostream& operator<<(std::ostream& out, const Outcome& outcome);

/// How one database spells what the cases need.
struct Backend {
    bool poco = true;
    CQXDB::QXDataSource dataSource;
    std::string blobType = "BLOB";
    std::string timestampType = "TIMESTAMP";
    std::string timeType = "TIME";
    std::string doubleType = "DOUBLE PRECISION";
    std::string booleanType = "BOOLEAN";
    std::string longTextType = "TEXT";
    long duplicateKey = 0;
    long syntaxError = 0;
    long missingTable = 0;
    /// An expression over column i that fails for the row with i = 15 only, when it is reached.
    std::string rowError;
    bool marksInComments = true;  ///< a "?" in a comment is not taken for a parameter
    bool exactDecimals = true;    ///< DECIMAL keeps every digit
    std::string minuteLong;       ///< a statement that runs for a minute or more
    /// Whether somebody runs minuteLong at the moment; "": as long as the database can't be
    /// locked.
    std::string minuteLongRuns;
};

using BackendMaker = std::function<const Backend&()>;

/// Runs calls on the manager class that serves the backend.
class Client {
  public:
    explicit Client(const Backend& backend) : Client(backend.dataSource, backend.poco) {}
    Client(const CQXDB::QXDataSource& dataSource, bool poco)
        : dataSource_(dataSource), poco_(poco) {}

    CQXDB::QXDataSource& DataSource() noexcept { return dataSource_; }
    void SetMaxResultBytes(std::size_t bytes) noexcept { maxResultBytes_ = bytes; }
    void SetSessionUser(const std::string& user) { sessionUser_ = user; }
    void SetCancellation(CQXDB::Cancellation* cancellation) noexcept {
        cancellation_ = cancellation;
    }
    CQXDB::QXCommand Command(const std::string& text,
                             std::vector<CQXDB::QXValue> parameters = {}) const;
    CQXDB::QXCommandList List(std::vector<CQXDB::QXCommand> commands) const;

    Outcome Execute(const std::string& text, std::vector<CQXDB::QXValue> parameters = {});
    Outcome Execute(std::vector<CQXDB::QXCommand> commands);
    /// The same out of the columns that a received list has.
    Outcome ExecuteReceived(std::vector<CQXDB::QXCommand> commands);
    Outcome Query(CQXDB::QXRecordset& rs, const std::string& text,
                  std::vector<CQXDB::QXValue> parameters = {});
    Outcome Query(CQXDB::QXRecordset& rs, std::vector<CQXDB::QXCommand> commands);
    Outcome Batch(CQXDB::QXRsList& out, std::vector<CQXDB::QXCommand> commands);
    Outcome Connect();
    void CloseConn();

    /// All rows of a query, cells joined by "|" and rows by a line's end; an error's text
    /// otherwise.
    std::string Rows(const std::string& text, std::vector<CQXDB::QXValue> parameters = {});

  private:
    template <typename Call>
    Outcome With(Call call);

    CQXDB::QXDataSource dataSource_;
    bool poco_;
    std::size_t maxResultBytes_ = 0;
    std::string sessionUser_;
    CQXDB::Cancellation* cancellation_ = nullptr;
};

/// Cells joined by "|", rows by a line's end; null is "NULL".
std::string TextOf(const CQXDB::QXRecordset& rs);

}  // namespace qxdb_test
