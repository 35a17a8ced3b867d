// The format table.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "cli/output/result_writer.h"

namespace CQXCLI::output {

/// Aligned columns under a line of names, numbers to the right, and the number of rows below. A
/// null is NULL; control characters are escaped. Keeps the rows until End to know the widths.
class TableWriter : public ResultWriter {
  public:
    explicit TableWriter(std::ostream& out) : out_(out) {}

    void Begin(const CQXDB::QXRecordset& rs) override;
    void Rows(const CQXDB::QXRecordset& rs) override;
    void End() override;

  private:
    struct Cell {
        std::string text;
        std::size_t width = 0;
        bool right = false;
    };
    using Line = std::vector<Cell>;

    void Add(Line line);
    void Print(const Line& line);
    void PrintRule();

    std::ostream& out_;
    std::vector<Line> lines_;  ///< the names, then the rows
    std::vector<std::size_t> widths_;
    bool separate_ = false;
};

}  // namespace CQXCLI::output
