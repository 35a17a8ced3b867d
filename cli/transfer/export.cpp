#include "cli/transfer/export.h"

#include <utility>

#include "cli/exit_status.h"
#include "cli/script/statement_splitter.h"

namespace CQXCLI::transfer {

namespace {

constexpr long kPortionRows = 10000;

std::string OnlyStatement(const Dialect& dialect, const std::string& sql) {
    script::StatementSplitter splitter(dialect);
    splitter.Feed(sql);
    splitter.Finish();
    script::Statement first;
    script::Statement second;
    if (!splitter.Next(first) || first.command || splitter.Next(second)) {
        throw CliError(kWrongUsage, "export takes exactly one statement");
    }
    return first.text;
}

}  // namespace

Export::Export(Session& session, const ExportOptions& options, Callback afterPortion)
    : format_(options.format),
      header_(options.header),
      afterPortion_(std::move(afterPortion)),
      query_(session, OnlyStatement(session.SqlDialect(), options.sql), options.parameters,
             options.pageSize < 0 ? kPortionRows : options.pageSize) {}

bool Export::Run(std::ostream& out) {
    const std::unique_ptr<output::ResultWriter> writer = output::MakeWriter(format_, out, header_);
    CQXDB::QXRecordset rs;
    Check(query_.Run(rs));
    if (rs.ColumnCount() == 0) {
        throw CliError(kFailed, "the statement has no result that could be exported");
    }
    writer->Begin(rs);
    for (;;) {
        writer->Rows(rs);
        rows_ += rs.RowCount();
        if (!query_.More()) {
            writer->End();
            return true;
        }
        if (!out || !afterPortion_(rows_)) {
            return false;
        }
        Check(query_.Next(rs));
    }
}

void Export::Check(const Answer& answer) {
    if (!answer.Ok()) {
        throw CliError(kFailed, ErrorText(answer));
    }
}

}  // namespace CQXCLI::transfer
