#include "cli/script_runner.h"

#include <algorithm>
#include <chrono>
#include <iomanip>

#include "cli/display_text.h"
#include "cli/meta_commands.h"
#include "cli/script_reader.h"

namespace CQXCLI {

namespace {

constexpr std::size_t kExcerptColumns = 100;

class Stopwatch {
  public:
    double Milliseconds() const {
        const std::chrono::duration<double, std::milli> passed = Clock::now() - start_;
        return passed.count();
    }

  private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start_ = Clock::now();
};

}  // namespace

ScriptRunner::ScriptRunner(Session& session, std::ostream& out, std::ostream& err,
                           const RunOptions& options)
    : session_(session),
      out_(out),
      err_(err),
      options_(options),
      writer_(MakeWriter(options.format, out, options.header)),
      commands_(std::make_unique<MetaCommands>(*this)) {}

ScriptRunner::~ScriptRunner() = default;

void ScriptRunner::SetFormat(Format format) {
    options_.format = format;
    writer_ = MakeWriter(format, out_, options_.header);
}

Outcome ScriptRunner::RunScript(std::istream& script, const std::string& name) {
    if (options_.oneTransaction) {
        held_.Open(1);
    }
    const Outcome outcome = RunStatements(script, name);
    if (outcome == Outcome::Done || (outcome == Outcome::Failed && options_.keepGoing)) {
        const Outcome end = EndScript(name);
        return end == Outcome::Done ? outcome : end;
    }
    held_.Drop();
    return outcome;
}

Outcome ScriptRunner::RunStatements(std::istream& script, const std::string& name) {
    ScriptReader reader(script, session_.SqlDialect());
    Outcome worst = Outcome::Done;
    for (Statement statement; reader.Next(statement);) {
        const Outcome outcome = Run(statement, name);
        if (outcome != Outcome::Done && (outcome != Outcome::Failed || !options_.keepGoing)) {
            return outcome;
        }
        worst = std::max(worst, outcome);
    }
    return reader.Broken() ? Fail(name, 1, "the script can't be read to its end") : worst;
}

Outcome ScriptRunner::EndScript(const std::string& name) {
    if (!held_.Open()) {
        return Outcome::Done;
    }
    if (options_.oneTransaction) {
        return Commit(name);
    }
    const std::size_t count = held_.Count();
    held_.Drop();
    return Fail(name, held_.Line(),
                "the script ends without a COMMIT for this transaction; its " +
                    std::to_string(count) + " statements were not run");
}

Outcome ScriptRunner::Run(const Statement& statement, const std::string& name) {
    if (statement.command) {
        return commands_->Run(statement, name);
    }
    if (statement.unfinished) {
        FailStatement(name, statement, "the script ends inside a quoted text or comment");
        return Outcome::Fatal;
    }
    if (!IsUtf8(statement.text)) {
        return Fail(name, statement.line, "the statement is not UTF-8 text");
    }
    const Stopwatch watch;
    const Outcome outcome = RunSql(statement, name);
    if (options_.timing) {
        out_.flush();
        err_ << "Time: " << std::fixed << std::setprecision(3) << watch.Milliseconds() << " ms\n";
    }
    return outcome;
}

Outcome ScriptRunner::RunSql(const Statement& statement, const std::string& name) {
    const StatementClass kind = Classify(session_.SqlDialect(), statement.text);
    const bool switches = kind.kind == StatementKind::Use && session_.CanSwitch();
    if (kind.kind == StatementKind::Other || (kind.kind == StatementKind::Use && !switches) ||
        (kind.kind == StatementKind::Commit && !held_.Open())) {
        return RunQuery(statement, name);
    }
    return RunKind(statement, kind, name);
}

Outcome ScriptRunner::RunKind(const Statement& statement, const StatementClass& kind,
                              const std::string& name) {
    switch (kind.kind) {
        case StatementKind::Begin:
            return Begin(statement, kind.detail, name);
        case StatementKind::Commit:
            return options_.oneTransaction ? Outcome::Done : Commit(name);
        case StatementKind::Rollback:
            return Rollback(statement, name);
        case StatementKind::Use:
            return Use(kind.detail, statement.line, name);
        default:
            Fail(name, statement.line,
                 "COPY FROM STDIN carries its rows in the script in a form of its own; write them "
                 "as INSERT statements, or use \"qxdb import\"");
            return Outcome::Fatal;
    }
}

Outcome ScriptRunner::RunQuery(const Statement& statement, const std::string& name) {
    if (held_.Open()) {
        held_.Add(statement);
        return Outcome::Done;
    }
    CQXDB::QXCommand command;
    command.SetTextUtf8(statement.text);
    for (const CQXDB::QXValue& value : options_.parameters) {
        command.AddParam(value);
    }
    CQXDB::QXRecordset rs;
    const Answer answer = session_.Query(command, rs, options_.pageSize, options_.page);
    if (!answer.Ok()) {
        return FailStatement(name, statement, ErrorText(answer));
    }
    Show(rs);
    return Outcome::Done;
}

Outcome ScriptRunner::Begin(const Statement& statement, const std::string& modes,
                            const std::string& name) {
    if (options_.oneTransaction) {
        return Outcome::Done;
    }
    if (held_.Open()) {
        return Fail(name, statement.line, "a transaction has begun already");
    }
    if (!modes.empty() && !session_.SqlDialect().Is(Dialect::Family::PostgreSql)) {
        return Fail(name, statement.line, "a transaction can't be begun with \"" + modes + "\"");
    }
    held_.Open(statement.line);
    if (!modes.empty()) {
        held_.Add({"SET TRANSACTION " + modes, statement.line});
    }
    return Outcome::Done;
}

Outcome ScriptRunner::Rollback(const Statement& statement, const std::string& name) {
    if (options_.oneTransaction) {
        Fail(name, statement.line, "ROLLBACK in a script that runs as one transaction");
        return Outcome::Fatal;
    }
    if (!held_.Open()) {
        return Fail(name, statement.line, "ROLLBACK without BEGIN");
    }
    held_.Drop();
    return Outcome::Done;
}

Outcome ScriptRunner::Commit(const std::string& name) {
    CQXDB::QXRsList results;
    const Answer answer = held_.Run(session_, results);
    if (!answer.Ok()) {
        const BatchError error = ReadBatchError(answer, held_.Count());
        FailStatement(name, held_.Failed(error), error.text);
        err_ << "    the transaction that begins on line " << held_.Line()
             << " was rolled back as a whole\n";
        return Outcome::Failed;
    }
    for (const CQXDB::QXRecordset& rs : results) {
        if (rs.ColumnCount() > 0) {
            Show(rs);
        }
    }
    return Outcome::Done;
}

Outcome ScriptRunner::Use(const std::string& database, std::size_t line, const std::string& name) {
    if (held_.Open()) {
        return Fail(name, line, "another database can't be chosen inside a transaction");
    }
    if (!session_.CanSwitch()) {
        return Fail(name, line, "the database is named by the connection string or data source");
    }
    const Answer answer = session_.Switch(database);
    if (!answer.Ok()) {
        Fail(name, line, "no connection to " + database + ": " + ErrorText(answer));
        return Outcome::NoConnection;
    }
    return Outcome::Done;
}

void ScriptRunner::Show(const CQXDB::QXRecordset& rs) {
    if (rs.ColumnCount() > 0) {
        writer_->Write(rs);
    } else if (options_.confirm) {
        out_ << "OK\n";
    }
    out_.flush();
}

Outcome ScriptRunner::FailStatement(const std::string& name, const Statement& statement,
                                    const std::string& error) {
    Fail(name, statement.line, error);
    if (!statement.text.empty()) {
        err_ << "    " << Ellipsis(EscapeForDisplay(statement.text), kExcerptColumns) << '\n';
    }
    return Outcome::Failed;
}

Outcome ScriptRunner::Fail(const std::string& name, std::size_t line, const std::string& text) {
    out_.flush();
    err_ << "qxdb: " << name << ':' << line << ": " << ToValidUtf8(text) << '\n';
    return Outcome::Failed;
}

}  // namespace CQXCLI
