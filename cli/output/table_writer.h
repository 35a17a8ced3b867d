// The format table.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "cli/output/result_writer.h"

namespace CQXCLI::output {

/// Aligned columns under a line of names, numbers to the right, and the number of rows below. A
/// null is NULL; control characters are escaped. Columns are as wide as the cells of the recordset
/// given to Begin are; what is wider, there beyond kWidestAligned or in a later one, sticks out.
class TableWriter : public ResultWriter {
  public:
    explicit TableWriter(std::ostream& out) : out_(out) {}

    void Begin(const CQXDB::QXRecordset& rs) override;
    void Rows(const CQXDB::QXRecordset& rs) override;
    void End() override;

  private:
    void Measure(const CQXDB::QXRecordset& rs);
    void PrintNames(const CQXDB::QXRecordset& rs);
    void PrintRow(const CQXDB::QXRecordset& rs, std::size_t row);

    std::ostream& out_;
    std::vector<std::size_t> widths_;
    std::string scratch_;
    std::size_t rows_ = 0;  ///< written of this result
    bool separate_ = false;
};

}  // namespace CQXCLI::output
