// Writes the result of a query to a stream, however many rows it has.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <qxdb/QXValue.h>

#include "cli/output/result_writer.h"
#include "cli/script/portioned_query.h"
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

/// The statement runs once. The rows of one that only reads come in portions, so the memory needed
/// doesn't grow with the result.
class Export {
  public:
    /// Called after each portion with the rows so far; false stops the export.
    using Callback = std::function<bool(std::uint64_t rows)>;

    Export(Session& session, const ExportOptions& options, Callback afterPortion);

    /// Writes all rows. False when the callback stopped it. Throws CliError (kFailed).
    bool Run(std::ostream& out);
    std::uint64_t Rows() const noexcept { return rows_; }

  private:
    static void Check(const Answer& answer);

    const output::Format format_;
    const bool header_;
    const Callback afterPortion_;
    script::PortionedQuery query_;
    std::uint64_t rows_ = 0;
};

}  // namespace CQXCLI::transfer
