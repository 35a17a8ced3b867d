#include "cli/transfer/export.h"

#include <utility>

#include "cli/exit_status.h"
#include "cli/script/statement_kind.h"
#include "cli/script/statement_splitter.h"

namespace CQXCLI::transfer {

namespace {

constexpr long kFirstPage = 10000;                                 // rows
constexpr std::size_t kLargePage = std::size_t{32} * 1024 * 1024;  // bytes
constexpr std::uint64_t kMostRowsAPage = 1000000;

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

CQXDB::QXCommand MakeCommand(const std::string& sql,
                             const std::vector<CQXDB::QXValue>& parameters) {
    CQXDB::QXCommand command;
    command.SetTextUtf8(sql);
    for (const CQXDB::QXValue& value : parameters) {
        command.AddParam(value);
    }
    return command;
}

}  // namespace

Export::Export(Session& session, const ExportOptions& options, Callback afterPage)
    : session_(session),
      options_(options),
      afterPage_(std::move(afterPage)),
      sql_(OnlyStatement(session.SqlDialect(), options.sql)),
      pageSize_(options.pageSize < 0 ? kFirstPage : options.pageSize),
      growing_(options.pageSize < 0) {
    if (!script::IsRepeatableQuery(session.SqlDialect(), sql_)) {
        pageSize_ = 0;
    }
}

bool Export::Run(std::ostream& out) {
    const std::unique_ptr<output::ResultWriter> writer =
        output::MakeWriter(options_.format, out, options_.header);
    for (bool first = true;; first = false) {
        CQXDB::QXRecordset rs;
        Fetch(rs);
        if (first) {
            writer->Begin(rs);
        }
        writer->Rows(rs);
        rows_ += rs.RowCount();
        if (pageSize_ == 0 || rs.RowCount() < static_cast<std::size_t>(pageSize_)) {
            writer->End();
            return true;
        }
        if (!out || !afterPage_(rows_)) {
            return false;
        }
        ChooseNextPage(rs);
    }
}

void Export::Fetch(CQXDB::QXRecordset& rs) {
    CQXDB::QXCommand command = MakeCommand(sql_, options_.parameters);
    const Answer answer = session_.Query(command, rs, pageSize_, page_);
    if (!answer.Ok()) {
        throw CliError(kFailed, ErrorText(answer));
    }
    if (rs.ColumnCount() == 0) {
        throw CliError(kFailed, "the statement has no result that could be exported");
    }
}

// Every page runs the query anew, so pages double while they are small: the second half of twice as
// many rows is the second page of twice the size.
void Export::ChooseNextPage(const CQXDB::QXRecordset& rs) {
    growing_ = growing_ && rs.MemoryBytes() < kLargePage && rows_ <= kMostRowsAPage;
    if (growing_) {
        pageSize_ = static_cast<long>(rows_);
        page_ = 2;
    } else {
        ++page_;
    }
}

std::uint64_t Export::CountAll() {
    const bool oracle = session_.SqlDialect().Is(Dialect::Family::Oracle);
    CQXDB::QXCommand command = MakeCommand(
        "SELECT COUNT(*) FROM (" + sql_ + (oracle ? ")" : ") AS exported"), options_.parameters);
    CQXDB::QXRecordset rs;
    const bool counted = session_.Query(command, rs).Ok() && rs.RowCount() == 1;
    return counted ? static_cast<std::uint64_t>(rs.GetInt64(0, 0)) : 0;
}

}  // namespace CQXCLI::transfer
