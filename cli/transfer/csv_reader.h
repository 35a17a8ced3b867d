// Rows of a CSV file (RFC 4180), read one by one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <istream>
#include <string>
#include <vector>

#include <csv.h>

namespace CQXCLI::transfer {

struct CsvField {
    std::string text;
    bool null = false;  ///< nothing at all, as opposed to ""
};

struct CsvRow {
    std::vector<CsvField> fields;  ///< none for an empty line
    std::size_t line = 1;          ///< line of the file on which the row begins, from 1
};

/// Lines may end in CRLF, LF or CR. A UTF-8 byte order mark is skipped. Blanks belong to their
/// field. Holds a few rows at a time; a field may have 256 MiB.
class CsvReader {
  public:
    /// `in` must outlive the reader.
    explicit CsvReader(std::istream& in);
    ~CsvReader();
    CsvReader(const CsvReader&) = delete;
    CsvReader& operator=(const CsvReader&) = delete;

    /// False at the end. Throws CliError (kFailed) with the line for what is no CSV or no UTF-8.
    bool Next(CsvRow& row);
    /// Bytes of the file that have been read so far.
    std::uint64_t BytesRead() const noexcept { return bytesRead_; }

  private:
    static void OnField(void* text, std::size_t size, void* self);
    static void OnRowEnd(int terminator, void* self);
    void ReadChunk();
    void EndRow(int terminator);
    void Check(const CsvRow& row) const;

    std::istream& in_;
    csv_parser parser_{};
    std::vector<char> buffer_;
    std::deque<CsvRow> rows_;  ///< whole, not yet handed out
    CsvRow pending_;
    std::size_t line_ = 1;  ///< of what comes next
    int lastTerminator_ = 0;
    std::uint64_t bytesRead_ = 0;
    bool ended_ = false;
};

}  // namespace CQXCLI::transfer
