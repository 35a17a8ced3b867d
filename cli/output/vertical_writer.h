// The format vertical: a line a value, for results too wide for a table.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>

#include "cli/output/result_writer.h"

namespace CQXCLI::output {

/// "name | value" lines under a numbered rule for each row. Nulls and control characters are shown
/// as in a table.
class VerticalWriter : public ResultWriter {
  public:
    explicit VerticalWriter(std::ostream& out) : out_(out) {}

    void Begin(const CQXDB::QXRecordset& rs) override;
    void Rows(const CQXDB::QXRecordset& rs) override;
    void End() override;

  private:
    void Row(const CQXDB::QXRecordset& rs, std::size_t row);

    std::ostream& out_;
    std::string scratch_;
    std::size_t width_ = 0;  ///< of the names
    std::size_t rows_ = 0;   ///< written of this result
    bool separate_ = false;
};

}  // namespace CQXCLI::output
