#include "cli/transfer/import.h"

#include <utility>

#include "cli/catalog.h"
#include "cli/exit_status.h"

namespace CQXCLI::transfer {

namespace {

constexpr std::size_t kLargestBatch = std::size_t{16} * 1024 * 1024;  // bytes of text

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
        const bool full = BatchIsFull();
        if (full && !options_.atomic) {
            Store();
        }
        if (full && !afterBatch_(progress_)) {
            return false;
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
    batch_ = std::make_unique<ImportBatch>(session_, options_.table, columns_);
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
    std::vector<CQXDB::QXValue> values;
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const CsvField field = empty ? CsvField{{}, true} : row.fields[i];
        values.push_back(ToValue(field, columns_[i].type));
        bytes += field.text.size();
    }
    batch_->Add(std::move(values), row.line, bytes);
    progress_.nextLine = batch_->FirstLine();
}

bool Import::BatchIsFull() const noexcept {
    return (batch_->Rows() > 0 && batch_->Rows() % options_.batchRows == 0) ||
           batch_->Bytes() >= kLargestBatch;
}

void Import::Store() {
    if (batch_->Rows() > 0) {
        const std::size_t rows = batch_->Rows();
        const std::size_t nextLine = batch_->LastLine() + 1;
        batch_->Store();
        progress_.rows += rows;
        progress_.nextLine = nextLine;
    }
}

}  // namespace CQXCLI::transfer
