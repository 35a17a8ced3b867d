#include "cli/import.h"

#include <utility>

#include "cli/batch_error.h"
#include "cli/catalog.h"
#include "cli/exit_status.h"

namespace CQXCLI {

namespace {

constexpr std::size_t kLargestBatch = std::size_t{16} * 1024 * 1024;  // bytes of text

std::string InsertStatement(const Dialect& dialect, const std::string& table,
                            const std::vector<TargetColumn>& columns) {
    std::string names;
    std::string marks;
    for (const TargetColumn& column : columns) {
        names += (names.empty() ? "" : ", ") + QuoteName(dialect, column.name);
        marks += marks.empty() ? "?" : ", ?";
    }
    return "INSERT INTO " + QuoteTable(dialect, table) + " (" + names + ") VALUES (" + marks + ")";
}

}  // namespace

Import::Import(Session& session, const ImportOptions& options, Callback afterBatch)
    : session_(session), options_(options), afterBatch_(std::move(afterBatch)) {}

bool Import::Run(std::istream& in) {
    CsvReader reader(in);
    ChooseColumns(reader);
    for (CsvRow row; reader.Next(row);) {
        if (row.line < options_.fromLine) {
            continue;
        }
        Add(row);
        progress_.bytes = reader.BytesRead();
        if (BatchIsFull()) {
            Store();
            if (!afterBatch_(progress_)) {
                return false;
            }
        }
    }
    Store();
    return true;
}

CQXDB::QXRecordset Import::AskForColumns() {
    CQXDB::QXCommand query = ColumnsOf(session_.SqlDialect(), options_.table);
    CQXDB::QXRecordset table;
    const Answer answer = session_.Query(query, table);
    if (!answer.Ok()) {
        throw CliError(kFailed, ErrorText(answer));
    }
    return table;
}

void Import::ChooseColumns(CsvReader& reader) {
    const CQXDB::QXRecordset table = AskForColumns();
    CsvRow header;
    if (!options_.header) {
        columns_ = AllColumns(table);
    } else if (reader.Next(header) && !header.fields.empty()) {
        columns_ = NamedColumns(table, header);
    } else {
        throw CliError(kFailed, "line 1: there is no line of column names");
    }
    insert_.SetTextUtf8(InsertStatement(session_.SqlDialect(), options_.table, columns_));
}

void Import::Add(const CsvRow& row) {
    // The row of a table with one column is an empty line when the value is null.
    const bool empty = row.fields.empty();
    if (empty && columns_.size() > 1) {
        return;
    }
    const std::size_t count = empty ? 1 : row.fields.size();
    if (count != columns_.size()) {
        throw CliError(kFailed, "line " + std::to_string(row.line) + ": " + std::to_string(count) +
                                    (count == 1 ? " field" : " fields") + " where " +
                                    std::to_string(columns_.size()) + " are expected");
    }
    CQXDB::QXCommand command = insert_;
    for (std::size_t i = 0; i < count; ++i) {
        const CsvField field = empty ? CsvField{{}, true} : row.fields[i];
        command.AddParam(ToValue(field, columns_[i].type));
        batchBytes_ += field.text.size();
    }
    batch_.Add(std::move(command));
    lines_.push_back(row.line);
    progress_.nextLine = lines_.front();
}

bool Import::BatchIsFull() const noexcept {
    return !options_.atomic &&
           (batch_.Count() >= options_.batchRows || batchBytes_ >= kLargestBatch);
}

void Import::Store() {
    if (batch_.Empty()) {
        return;
    }
    const Answer answer = session_.Execute(batch_);
    if (!answer.Ok()) {
        Fail(answer);
    }
    progress_.rows += batch_.Count();
    progress_.nextLine = lines_.back() + 1;
    batch_.RemoveAll();
    lines_.clear();
    batchBytes_ = 0;
}

void Import::Fail(const Answer& answer) const {
    const BatchError error = ReadBatchError(answer, lines_.size());
    const std::string where =
        error.index < lines_.size()
            ? "line " + std::to_string(lines_[error.index])
            : "lines " + std::to_string(lines_.front()) + " to " + std::to_string(lines_.back());
    throw CliError(kFailed, where + ": " + error.text);
}

}  // namespace CQXCLI
