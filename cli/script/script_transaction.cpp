// The part of ScriptRunner that holds transactions back until they are whole.
#include "cli/script/script_runner.h"

namespace CQXCLI::script {

Outcome ScriptRunner::Begin(const Statement& statement, const std::string& modes,
                            const std::string& name) {
    if (options_.oneTransaction) {
        return Outcome::Done;
    }
    if (held_.Open()) {
        return Fail(name, statement.line, "a transaction has begun already");
    }
    held_.Open(statement.line);
    if (!modes.empty() && !session_.SqlDialect().Is(Dialect::Family::PostgreSql)) {
        return Fail(name, statement.line, "a transaction can't be begun with \"" + modes + "\"");
    }
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
        return Report(name, statement.line, "ROLLBACK without BEGIN");
    }
    held_.Drop();
    return Outcome::Done;
}

Outcome ScriptRunner::Commit(const std::string& name, std::size_t line) {
    if (held_.Failed()) {
        held_.Drop();
        return Report(name, line,
                      "nothing of the transaction that begins on line " +
                          std::to_string(held_.Line()) + " was run, because of the error in it");
    }
    CQXDB::QXRsList results;
    const Answer answer = held_.Run(session_, results);
    if (!answer.Ok()) {
        const BatchError error = ReadBatchError(answer, held_.Count());
        FailStatement(name, held_.Culprit(error), error.text);
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

Outcome ScriptRunner::EndScript(const std::string& name) {
    if (!held_.Open()) {
        return Outcome::Done;
    }
    if (options_.oneTransaction || held_.Failed()) {
        return Commit(name, held_.Line());
    }
    const std::size_t count = held_.Count();
    held_.Drop();
    return Fail(name, held_.Line(),
                "the script ends without a COMMIT for this transaction; its " +
                    std::to_string(count) + " statements were not run");
}

}  // namespace CQXCLI::script
