// A cell as the formats for people show it.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

#include <qxdb/QXRecordset.h>

namespace CQXCLI::output {

/// On one line, a null as NULL, control characters escaped. Borrows the recordset and `scratch`.
class ShownCell {
  public:
    ShownCell(const CQXDB::QXRecordset& rs, std::size_t row, std::size_t column,
              std::string& scratch);

    /// Columns of a terminal; some number above `most` when they are more than that.
    std::size_t Width(std::size_t most) const;
    void Write(std::ostream& out) const;
    bool ToTheRight() const noexcept { return toTheRight_; }  ///< a number, or a null among numbers

  private:
    std::string_view text_;  ///< a blob's bytes as they are
    bool blob_ = false;
    bool toTheRight_ = false;
};

}  // namespace CQXCLI::output
