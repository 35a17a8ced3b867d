#include "cli/transfer/import_batch.h"

#include <algorithm>
#include <utility>

#include "cli/batch_error.h"
#include "cli/exit_status.h"

namespace CQXCLI::transfer {

namespace {

constexpr std::size_t kMostRowsACommand = 200;
constexpr std::size_t kMostParameters = 20000;                   // the databases allow 65,535
constexpr std::size_t kLargeCommand = std::size_t{1024} * 1024;  // bytes of text

/// Rows that one INSERT takes. Where every statement is a trip to a server, one for each row would
/// be several times slower.
std::size_t RowsACommand(const Dialect& dialect, std::size_t columns) {
    const bool several =
        dialect.Is(Dialect::Family::PostgreSql) || dialect.Is(Dialect::Family::MySql);
    return several ? std::clamp(kMostParameters / std::max<std::size_t>(columns, 1), std::size_t{1},
                                kMostRowsACommand)
                   : 1;
}

}  // namespace

ImportBatch::ImportBatch(Session& session, const std::string& table,
                         const std::vector<TargetColumn>& columns)
    : session_(session), rowsACommand_(RowsACommand(session.SqlDialect(), columns.size())) {
    std::string names;
    for (const TargetColumn& column : columns) {
        names += (names.empty() ? "" : ", ") + QuoteName(session.SqlDialect(), column.name);
        marks_ += marks_.empty() ? "(?" : ", ?";
    }
    marks_ += ')';
    start_ = "INSERT INTO " + QuoteTable(session.SqlDialect(), table) + " (" + names + ") VALUES ";
}

void ImportBatch::Add(std::vector<CQXDB::QXValue> row, std::size_t line, std::size_t bytes) {
    rows_.push_back({std::move(row), line, bytes});
    bytes_ += bytes;
}

void ImportBatch::Store() {
    if (rows_.empty()) {
        return;
    }
    CQXDB::QXCommandList list = Pack(rowsACommand_);
    Answer answer = session_.Execute(list);
    if (!answer.Ok() && list.Count() < rows_.size()) {
        // Nothing was stored. One row a command tells which one the database refuses.
        list = Pack(1);
        answer = session_.Execute(list);
    }
    if (!answer.Ok()) {
        Fail(answer);
    }
    rows_.clear();
    bytes_ = 0;
}

CQXDB::QXCommandList ImportBatch::Pack(std::size_t rowsACommand) const {
    CQXDB::QXCommand whole;
    whole.SetTextUtf8(Insert(rowsACommand));
    CQXDB::QXCommandList list;
    for (std::size_t first = 0; first < rows_.size();) {
        const std::size_t end = EndOfCommand(first, rowsACommand);
        CQXDB::QXCommand command = whole;
        if (end - first < rowsACommand) {
            command.SetTextUtf8(Insert(end - first));
        }
        for (; first < end; ++first) {
            for (const CQXDB::QXValue& value : rows_[first].values) {
                command.AddParam(value);
            }
        }
        list.Add(std::move(command));
    }
    return list;
}

std::size_t ImportBatch::EndOfCommand(std::size_t first, std::size_t mostRows) const {
    std::size_t bytes = rows_[first].bytes;
    std::size_t end = first + 1;
    while (end < rows_.size() && end - first < mostRows && bytes < kLargeCommand) {
        bytes += rows_[end++].bytes;
    }
    return end;
}

std::string ImportBatch::Insert(std::size_t rows) const {
    std::string sql = start_ + marks_;
    for (std::size_t i = 1; i < rows; ++i) {
        sql += ", " + marks_;
    }
    return sql;
}

void ImportBatch::Fail(const Answer& answer) const {
    const BatchError error = ReadBatchError(answer, rows_.size());
    const std::string where =
        error.index < rows_.size()
            ? "line " + std::to_string(rows_[error.index].line)
            : "lines " + std::to_string(FirstLine()) + " to " + std::to_string(LastLine());
    throw CliError(kFailed, where + ": " + error.text);
}

}  // namespace CQXCLI::transfer
