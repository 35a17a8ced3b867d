// The tables of the comparison: the same rows for every side, made from their numbers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qxdb_bench {

enum class CellType { Integer, Real, Text, Timestamp, Blob };

struct Cell {
    CellType type = CellType::Integer;
    bool null = false;
    std::int64_t integer = 0;  ///< also a timestamp, in microseconds since 1970
    double real = 0;
    std::string bytes;  ///< text (UTF-8), blob, or the timestamp as "2024-01-31 12:00:00.000"
};
using Row = std::vector<Cell>;

struct ColumnSpec {
    const char* name;
    CellType type;
};

class Table {
  public:
    /// "ten", "large" (a million rows) and "sink": orders as an application keeps them: id, 3
    /// integers, 2 doubles, 3 texts of 12 to 24 characters, a timestamp. "noise" and "big" (a
    /// million rows) have the same columns filled with random letters and numbers, which hardly
    /// compress. "wide": long texts in several languages, many nulls, blobs. Throws
    /// std::invalid_argument for another name.
    static Table Named(const std::string& name);

    const std::string& Name() const noexcept { return name_; }
    std::int64_t Rows() const noexcept { return rows_; }
    const std::vector<ColumnSpec>& Columns() const noexcept { return columns_; }
    CellType TypeOf(int column) const { return columns_[static_cast<std::size_t>(column)].type; }

    /// Row `id`, from 1; always the same.
    Row At(std::int64_t id) const;
    std::vector<Row> Range(std::int64_t first, std::int64_t count) const;

    /// "CREATE TABLE" with the type names of one database, in the order of CellType.
    std::string Create(const std::vector<std::string>& typeNames) const;
    /// "INSERT INTO" with `placeholder` for each value.
    std::string Insert(const std::string& placeholder = "?") const;

  private:
    std::string name_;
    std::int64_t rows_ = 0;
    std::vector<ColumnSpec> columns_;
};

constexpr std::int64_t kTenRows = 100000;
constexpr std::int64_t kBigRows = 1000000;
constexpr std::int64_t kWideRows = 20000;
constexpr std::int64_t kInsertRows = 10000;

}  // namespace qxdb_bench
