// Reads the rows of a CSV file into a table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <istream>
#include <memory>
#include <string>
#include <vector>

#include "cli/session.h"
#include "cli/transfer/csv_reader.h"
#include "cli/transfer/import_batch.h"
#include "cli/transfer/import_columns.h"

namespace CQXCLI::transfer {

struct ImportOptions {
    std::string file;    ///< "-": standard input
    std::string table;   ///< perhaps with a schema in front
    bool header = true;  ///< the first line names columns
    std::size_t batchRows = 5000;
    bool atomic = false;       ///< one transaction for all rows, which are then held in memory
    std::size_t fromLine = 1;  ///< rows that begin on lines before this one are passed over
};

/// What an import has done so far.
struct ImportProgress {
    std::uint64_t bytes = 0;   ///< of the file
    std::uint64_t rows = 0;    ///< stored
    std::size_t nextLine = 1;  ///< where the first row begins that is not stored
};

/// Rows go to the database in batches, each one transaction, so the memory needed doesn't grow with
/// the file. The first bad row ends the import; the batches before it stay stored.
class Import {
  public:
    /// Called when a batch is full, and stored unless the import is atomic; false stops the import.
    using Callback = std::function<bool(const ImportProgress&)>;

    Import(Session& session, const ImportOptions& options, Callback afterBatch);

    /// Reads all rows. False when the callback stopped it. Throws CliError (kFailed) with the line.
    bool Run(std::istream& in);
    const ImportProgress& Progress() const noexcept { return progress_; }

  private:
    CQXDB::QXRecordset AskForColumns();
    void ChooseColumns(CsvReader& reader);
    void Add(const CsvRow& row);
    bool BatchIsFull() const noexcept;
    void Store();

    Session& session_;
    const ImportOptions options_;
    const Callback afterBatch_;
    ImportProgress progress_;
    std::vector<TargetColumn> columns_;
    std::unique_ptr<ImportBatch> batch_;
};

}  // namespace CQXCLI::transfer
