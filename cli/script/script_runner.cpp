#include "cli/script/script_runner.h"

#include <algorithm>
#include <chrono>
#include <iomanip>

#include "cli/output/display_text.h"
#include "cli/output/notice.h"
#include "cli/script/meta_commands.h"
#include "cli/script/portioned_query.h"
#include "cli/script/script_reader.h"
#include "util/printable.h"

namespace CQXCLI::script {

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
      writer_(output::MakeWriter(options.format, out, options.header)),
      commands_(std::make_unique<MetaCommands>(*this)) {
    session_.OnNotice([this](const CQXDB::QXNotice& notice) {
        out_.flush();
        output::WriteNotice(err_, notice);
    });
}

ScriptRunner::~ScriptRunner() {
    session_.OnNotice({});
}

void ScriptRunner::SetFormat(output::Format format) {
    options_.format = format;
    writer_ = output::MakeWriter(format, out_, options_.header);
}

Outcome ScriptRunner::RunScript(std::istream& script, const std::string& name) {
    if (options_.oneTransaction) {
        held_.Open(1);
    }
    const Outcome outcome = RunStatements(script, name);
    const bool ended = outcome == Outcome::Done || outcome == Outcome::Quit;
    if (ended || (outcome == Outcome::Failed && options_.keepGoing)) {
        const Outcome end = EndScript(name);
        return end == Outcome::Done || outcome == Outcome::Quit ? outcome : end;
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

Outcome ScriptRunner::Run(const Statement& statement, const std::string& name) {
    if (statement.command) {
        return commands_->Run(statement, name);
    }
    if (statement.unfinished) {
        FailStatement(name, statement, "the script ends inside a quoted text or comment");
        return Outcome::Fatal;
    }
    if (!output::IsUtf8(statement.text)) {
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
            return options_.oneTransaction ? Outcome::Done : Commit(name, statement.line);
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
    if (options_.portionRows != 0) {
        return RunPortioned(statement, name);
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

Outcome ScriptRunner::RunPortioned(const Statement& statement, const std::string& name) {
    PortionedQuery query(session_, statement.text, options_.parameters, options_.portionRows);
    CQXDB::QXRecordset rs;
    Answer answer = query.Run(rs);
    if (answer.Ok() && !query.More()) {
        Show(rs);
        return Outcome::Done;
    }
    for (bool first = true; answer.Ok(); first = false) {
        if (first) {
            writer_->Begin(rs);
        }
        writer_->Rows(rs);
        out_.flush();
        if (!query.More()) {
            writer_->End();
            out_.flush();
            return Outcome::Done;
        }
        answer = query.Next(rs);
    }
    return FailStatement(name, statement, ErrorText(answer));
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
        err_ << "    " << output::Ellipsis(CQXBASE::PrintableUtf8(statement.text), kExcerptColumns)
             << '\n';
    }
    return Outcome::Failed;
}

Outcome ScriptRunner::Fail(const std::string& name, std::size_t line, const std::string& text) {
    held_.Fail();
    return Report(name, line, text);
}

Outcome ScriptRunner::Report(const std::string& name, std::size_t line, const std::string& text) {
    anyFailure_ = true;
    out_.flush();
    err_ << "qxdb: " << CQXBASE::PrintableUtf8(name) << ':' << line << ": "
         << output::ErrorForDisplay(text) << '\n';
    return Outcome::Failed;
}

}  // namespace CQXCLI::script
