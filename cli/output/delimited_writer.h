// The formats csv and tsv: one line a row, one field a column.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

#include "cli/output/result_writer.h"

namespace CQXCLI::output {

/// What both formats share: fields between delimiters, a blank line between two results.
class DelimitedWriter : public ResultWriter {
  public:
    void Begin(const CQXDB::QXRecordset& rs) override;
    void Rows(const CQXDB::QXRecordset& rs) override;
    void End() override { separate_ = true; }

  protected:
    DelimitedWriter(std::ostream& out, bool header, char delimiter, std::string_view lineEnd)
        : out_(out), lineEnd_(lineEnd), delimiter_(delimiter), header_(header) {}

    virtual void Field(std::string_view text) = 0;
    virtual void Null() = 0;

    std::ostream& out_;

  private:
    void Row(const CQXDB::QXRecordset& rs, std::size_t row);

    std::string scratch_;
    std::string_view lineEnd_;
    char delimiter_;
    bool header_;
    bool separate_ = false;  ///< a result has been written already
};

/// RFC 4180: CRLF line ends; fields that hold a comma, a quote or a line break stand in quotes. A
/// null is an empty field, an empty text is "".
class CsvWriter : public DelimitedWriter {
  public:
    CsvWriter(std::ostream& out, bool header) : DelimitedWriter(out, header, ',', "\r\n") {}

  protected:
    void Field(std::string_view text) override;
    void Null() override {}

  private:
    std::string quoted_;
};

/// Tab-separated: a tab, line feed, carriage return and backslash inside a field are written "\t",
/// "\n", "\r" and "\\"; a null is "\N".
class TsvWriter : public DelimitedWriter {
  public:
    TsvWriter(std::ostream& out, bool header) : DelimitedWriter(out, header, '\t', "\n") {}

  protected:
    void Field(std::string_view text) override;
    void Null() override { out_ << "\\N"; }
};

}  // namespace CQXCLI::output
