// An agent with a database of its own, and the operations that faults are put into.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <qxdb/DBAgent.h>

#include "tests/support/QxdbServer.h"
#include "tests/support/TempDir.h"

namespace qxdb_test {

/// How an operation ended.
struct Result {
    long code = 0;
    std::wstring text;
    std::string thrown;  ///< what escaped as an exception; "" is nothing
    bool right = true;   ///< the rows are those asked for, or none after a failure
};

class Bench;

struct Operation {
    const char* name;
    Result (*run)(Bench& bench);
    int rows;  ///< that it adds to the table when it succeeds
};

/// The table is t(n, s, b) with kSeedRows rows, and those that operations add.
class Bench {
  public:
    static constexpr int kSeedRows = 20;

    virtual ~Bench() = default;
    /// A new agent, ready for work, and no connection that an earlier one has left.
    virtual void Renew() = 0;
    virtual std::vector<Operation> Operations() const;

    CQXDB::DBAgent& Agent() { return *agent_; }
    /// Makes one call of the agent's, between `before` and `after`.
    Result Try(const std::function<void(Result&)>& call);
    std::function<void()> before = [] {};
    std::function<void()> after = [] {};
    /// The `n` of the rows that the next operation adds; a new one each time.
    std::int64_t NextMark() { return ++mark_; }
    std::int64_t Mark() const noexcept { return mark_; }
    /// The rows behind each mark that has any, asked through the agent; throws when that fails.
    std::map<std::int64_t, std::int64_t> RowsOfMarks();
    /// Removes what operations have added; throws when that fails.
    void Clean();
    /// Whether the agent can read the seed rows, and what it says when it can't.
    std::string Complaint();

  protected:
    void Run(const std::wstring& sql);
    void MakeTable();

    std::unique_ptr<CQXDB::DBAgent> agent_;
    std::int64_t mark_ = 1000;
};

/// SQLite in a file, through one of the two managers.
class LocalBench final : public Bench {
  public:
    explicit LocalBench(CQXDB::CQXDB_DSType_ENUM type);
    ~LocalBench() override;
    void Renew() override;

  private:
    TempDir folder_;
    CQXDB::CQXDB_DSType_ENUM type_;
};

/// The server's SQLite database; logging in is an operation too.
class RemoteBench final : public Bench {
  public:
    explicit RemoteBench(QxdbServer& server);  ///< borrowed
    void Renew() override;
    std::vector<Operation> Operations() const override;
    Result LogInAgain();

  private:
    QxdbServer& server_;
};

}  // namespace qxdb_test
