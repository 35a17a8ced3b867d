// Runs the statements of scripts, and tells what failed and where.
#pragma once

#include <cstddef>
#include <istream>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <qxdb/QXValue.h>

#include "cli/output/result_writer.h"
#include "cli/script/held_transaction.h"
#include "cli/script/statement_kind.h"
#include "cli/script/statement_splitter.h"
#include "cli/session.h"

namespace CQXCLI::script {

struct RunOptions {
    output::Format format = output::Format::Table;
    bool header = true;  ///< a line of column names in csv and tsv
    long pageSize = 0;   ///< rows of a result to fetch; 0: all
    long page = 1;       ///< which page of that size
    /// Where no page size is given, results of queries come in portions of so many rows; 0: whole.
    long portionRows = 0;
    bool oneTransaction = false;                  ///< each script is one transaction
    bool keepGoing = false;                       ///< a failed statement doesn't end its script
    bool timing = false;                          ///< tell how long each statement took
    bool confirm = false;                         ///< say "OK" for a statement without a result
    std::vector<CQXDB::QXValue> parameters = {};  ///< of every statement
};

enum class Outcome {
    Done,
    Failed,
    Fatal,         ///< failed, and the rest of the script makes no sense
    NoConnection,  ///< as Fatal, since another database can't be reached
    Quit
};

class MetaCommands;

/// Statements run one by one, each a transaction of its own. What stands between BEGIN and COMMIT
/// is held back and runs at COMMIT as one transaction; ROLLBACK drops it. An error in between
/// keeps the whole transaction from running. Results go to `out`, errors to `err` with the name of
/// the script and the line.
class ScriptRunner {
  public:
    /// All arguments must outlive the runner.
    ScriptRunner(Session& session, std::ostream& out, std::ostream& err, const RunOptions& options);
    ~ScriptRunner();

    /// Runs a whole script of any size. A UTF-8 byte order mark in front is skipped.
    Outcome RunScript(std::istream& script, const std::string& name);
    /// Runs the statements of a script that another one includes.
    Outcome RunStatements(std::istream& script, const std::string& name);
    /// Runs one statement of the script `name`.
    Outcome Run(const Statement& statement, const std::string& name);
    /// Ends a script: an unfinished transaction is dropped, which is a failure.
    Outcome EndScript(const std::string& name);
    const HeldTransaction& Transaction() const noexcept { return held_; }
    /// True when something has failed since the runner was made.
    bool AnyFailure() const noexcept { return anyFailure_; }

    Session& Connection() noexcept { return session_; }
    std::ostream& Out() noexcept { return out_; }
    void SetFormat(output::Format format);
    void SetTiming(bool on) noexcept { options_.timing = on; }
    bool Timing() const noexcept { return options_.timing; }
    void Show(const CQXDB::QXRecordset& rs);
    /// Sends further statements to another database.
    Outcome Use(const std::string& database, std::size_t line, const std::string& name);
    /// Writes "qxdb: name:line: text" to the error stream.
    Outcome Report(const std::string& name, std::size_t line, const std::string& text);
    /// Reports an error without which the open transaction would not be what was meant, so that
    /// it fails.
    Outcome Fail(const std::string& name, std::size_t line, const std::string& text);

  private:
    Outcome RunSql(const Statement& statement, const std::string& name);
    Outcome RunKind(const Statement& statement, const StatementClass& kind,
                    const std::string& name);
    Outcome RunQuery(const Statement& statement, const std::string& name);
    Outcome RunPortioned(const Statement& statement, const std::string& name);
    Outcome Begin(const Statement& statement, const std::string& modes, const std::string& name);
    Outcome Rollback(const Statement& statement, const std::string& name);
    Outcome Commit(const std::string& name, std::size_t line);
    Outcome FailStatement(const std::string& name, const Statement& statement,
                          const std::string& error);

    Session& session_;
    std::ostream& out_;
    std::ostream& err_;
    RunOptions options_;
    std::unique_ptr<output::ResultWriter> writer_;
    std::unique_ptr<MetaCommands> commands_;
    HeldTransaction held_;
    bool anyFailure_ = false;
};

}  // namespace CQXCLI::script
