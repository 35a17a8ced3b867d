// Rows on their way into a table, stored as one transaction.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <qxdb/QXCommandList.h>

#include "cli/session.h"
#include "cli/transfer/import_columns.h"

namespace CQXCLI::transfer {

class ImportBatch {
  public:
    /// `session` must outlive the batch. `table` is as QuoteTable takes it.
    ImportBatch(Session& session, const std::string& table,
                const std::vector<TargetColumn>& columns);

    /// Takes a row that begins on line `line` and holds `bytes` of text.
    void Add(std::vector<CQXDB::QXValue> row, std::size_t line, std::size_t bytes);
    std::size_t Rows() const noexcept { return rows_.size(); }
    std::size_t Bytes() const noexcept { return bytes_; }
    std::size_t FirstLine() const noexcept { return rows_.front().line; }
    std::size_t LastLine() const noexcept { return rows_.back().line; }

    /// Stores all rows or none, and forgets them when they are stored. Throws CliError (kFailed)
    /// with the line of the row that the database refuses.
    void Store();

  private:
    struct Row {
        std::vector<CQXDB::QXValue> values;
        std::size_t line = 0;
        std::size_t bytes = 0;
    };

    CQXDB::QXCommandList Pack(std::size_t rowsACommand) const;
    std::size_t EndOfCommand(std::size_t first, std::size_t mostRows) const;
    std::string Insert(std::size_t rows) const;
    [[noreturn]] void Fail(const Answer& answer) const;

    Session& session_;
    std::string start_;  ///< of the statement, up to VALUES
    std::string marks_;  ///< "(?, ?)"
    std::size_t rowsACommand_;
    std::vector<Row> rows_;
    std::size_t bytes_ = 0;
};

}  // namespace CQXCLI::transfer
