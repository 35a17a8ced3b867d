// Columns on a CDR stream, one after the other, gathered into blocks that are compressed as a
// whole.
#pragma once

#include <cstddef>
#include <cstdint>

#include "objects/encoding/cdr_fields.h"
#include "objects/encoding/column_codec.h"
#include "objects/encoding/zstd_codec.h"

namespace CQXDB::encoding {

/// The budget of a block: what its columns may expand to, and its own size before compression.
constexpr std::uint64_t BlockBudget(std::uint64_t bytesPresent) noexcept {
    return 128 * bytesPresent + 4096;
}

/// Writes columns. A block ends with the column that brings it to a mebibyte, so one block is all
/// the memory that writing a large recordset takes.
class ColumnWriter {
  public:
    explicit ColumnWriter(ACE_OutputCDR& out) noexcept : out_(out) {}
    /// `rowWeight` is what a row will take elsewhere once the reader has taken it out of the
    /// column.
    void Add(const QXColumn& column, std::size_t rowWeight = 0);
    /// Writes the last block. False when anything was not written.
    bool Finish();

  private:
    bool WriteBlock();
    bool WritePadding(std::size_t size);

    ACE_OutputCDR& out_;
    PlainBytes plain_;
    PlainBytes packed_;
    ZstdPacker packer_;
    std::uint64_t expansion_ = 0;
    bool good_ = true;
};

/// Adds up what ColumnWriter writes at most: the blocks as they are without compression.
class ColumnsSize {
  public:
    void Add(const QXColumn& column, std::size_t rowWeight = 0);
    std::size_t Total() const noexcept;

  private:
    std::size_t finished_ = 0;
    std::size_t plain_ = 0;
    std::uint64_t expansion_ = 0;
};

/// Reads what a ColumnWriter wrote, with the same numbers of rows and row weights.
class ColumnReader {
  public:
    explicit ColumnReader(ACE_InputCDR& in) noexcept
        : in_(in), memory_(CQXBASE::encoding::MemoryOf(in)) {}
    bool Read(QXColumn& column, std::size_t rows, std::size_t rowWeight = 0);
    /// Whether the blocks so far hold nothing more. Clears the stream's good bit otherwise.
    bool Finish();

  private:
    bool NextBlock();
    bool MakeRoom(std::size_t plain);

    ACE_InputCDR& in_;
    CQXBASE::encoding::DecodeMemory* memory_;  ///< borrowed; null takes no heed
    PlainBytes unpacked_;
    PlainReader plain_;
    ExpansionBudget budget_;
};

}  // namespace CQXDB::encoding
