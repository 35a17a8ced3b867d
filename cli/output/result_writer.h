// Writes result sets in one of the output formats.
#pragma once

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

#include <qxdb/QXRecordset.h>

namespace CQXCLI::output {

enum class Format { Table, Csv, Tsv, Json, Vertical };

/// The format called table, csv, tsv, json or vertical; false for any other name.
bool FindFormat(std::string_view name, Format& format) noexcept;

/// Columns of a terminal up to which the formats for people align: one long cell or name must not
/// fill every other line with blanks.
constexpr std::size_t kWidestAligned = 1000;

/// A result may come in several recordsets, which have the same columns: Begin with the first, Rows
/// with each (the first again), then End. One writer writes any number of results, one after
/// another.
class ResultWriter {
  public:
    ResultWriter() = default;
    ResultWriter(const ResultWriter&) = delete;
    ResultWriter& operator=(const ResultWriter&) = delete;
    virtual ~ResultWriter() = default;

    virtual void Begin(const CQXDB::QXRecordset& rs) = 0;
    virtual void Rows(const CQXDB::QXRecordset& rs) = 0;
    virtual void End() = 0;

    void Write(const CQXDB::QXRecordset& rs) {
        Begin(rs);
        Rows(rs);
        End();
    }
};

/// `out` must outlive the writer. Without `header`, csv and tsv have no line of column names.
std::unique_ptr<ResultWriter> MakeWriter(Format format, std::ostream& out, bool header);

/// The text of a cell that is neither null nor a blob: numbers with all their digits, ISO dates,
/// "true" and "false". Lives in `rs` or in `scratch`.
std::string_view CellText(const CQXDB::QXRecordset& rs, std::size_t row, std::size_t column,
                          std::string& scratch);

/// What stands before the digits of a blob.
constexpr std::string_view kHexPrefix = "\\x";
/// Writes two hexadecimal digits for each byte.
void WriteHex(std::ostream& out, std::string_view bytes);

bool IsNumber(CQXDB::QXValueType type) noexcept;

}  // namespace CQXCLI::output
