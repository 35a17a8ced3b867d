// Writes the result of a query to a stream, however many rows it has.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <qxdb/QXValue.h>

#include "cli/output/result_writer.h"
#include "cli/session.h"

namespace CQXCLI::transfer {

struct ExportOptions {
    std::string sql;
    std::string file;  ///< "-": standard output
    output::Format format = output::Format::Csv;
    bool header = true;
    long pageSize = -1;  ///< rows fetched at once; 0: all; below 0: as many as suit
    std::vector<CQXDB::QXValue> parameters = {};
};

/// A query is fetched page by page, so the memory needed doesn't grow with the result. Each page
/// runs the query again. Any other statement with a result (INSERT ... RETURNING) runs once.
class Export {
  public:
    /// Called after each page with the rows so far; false stops the export.
    using Callback = std::function<bool(std::uint64_t rows)>;

    Export(Session& session, const ExportOptions& options, Callback afterPage);

    /// Writes all rows. False when the callback stopped it. Throws CliError (kFailed).
    bool Run(std::ostream& out);
    std::uint64_t Rows() const noexcept { return rows_; }
    /// Rows that the query has in all; 0 when the database doesn't say.
    std::uint64_t CountAll();

  private:
    void Fetch(CQXDB::QXRecordset& rs);
    void ChooseNextPage(const CQXDB::QXRecordset& rs);

    Session& session_;
    const ExportOptions options_;
    const Callback afterPage_;
    std::string sql_;  ///< without ";"
    long pageSize_;    ///< 0: all rows at once
    long page_ = 1;
    bool growing_;  ///< pages may still become larger
    std::uint64_t rows_ = 0;
};

}  // namespace CQXCLI::transfer
