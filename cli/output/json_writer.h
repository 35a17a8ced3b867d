// The format json.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "cli/output/result_writer.h"

namespace CQXCLI::output {

/// One array of objects a result. Integers, decimals and doubles are numbers with all their digits
/// ("NaN" and the infinities are texts), nulls and booleans are JSON's own, everything else is
/// text. A column name that comes again gets a number: "id", "id_2".
class JsonWriter : public ResultWriter {
  public:
    explicit JsonWriter(std::ostream& out) : out_(out) {}

    void Begin(const CQXDB::QXRecordset& rs) override;
    void Rows(const CQXDB::QXRecordset& rs) override;
    void End() override;

  private:
    void Row(const CQXDB::QXRecordset& rs, std::size_t row);
    void Cell(const CQXDB::QXRecordset& rs, std::size_t row, std::size_t column);

    std::ostream& out_;
    struct Key {
        std::string text;
        bool quoted;  ///< once for all rows, which a long name is not
    };
    std::vector<Key> keys_;
    std::string scratch_;
    bool first_ = true;
};

}  // namespace CQXCLI::output
