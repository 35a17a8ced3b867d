// One column in a block: head byte, name, null bitmap, values.
#pragma once

#include <cstddef>
#include <cstdint>

#include <qxdb/QXColumn.h>

#include "objects/column_head.h"
#include "objects/plain_bytes.h"

namespace CQXDB {

/// What the memory of decoded columns is charged to, so that a few bytes from a peer can't claim
/// billions of rows.
class ExpansionBudget {
  public:
    explicit ExpansionBudget(std::uint64_t bytes = 0) noexcept : left_(bytes) {}
    bool Take(std::uint64_t bytes) noexcept {
        const bool fits = bytes <= left_;
        left_ -= fits ? bytes : 0;
        return fits;
    }

  private:
    std::uint64_t left_;
};

class ColumnCodec {
  public:
    static constexpr std::size_t kMaxRows = 0xFFFFFFFFU;

    static void Put(PlainBytes& out, const QXColumn& column);
    /// What Put adds, in bytes.
    static std::size_t Size(const QXColumn& column);
    /// Reads a column of `rows` rows into an empty one. False for anything malformed, and when the
    /// column's expansion, `rowWeight` more a row, is beyond the budget.
    static bool Get(PlainReader& in, QXColumn& column, std::size_t rows, std::size_t rowWeight,
                    ExpansionBudget& budget);
    static ColumnHead HeadOf(const QXColumn& column) noexcept;

  private:
    static void PutValues(PlainBytes& out, const QXColumn& column);
    static std::size_t ValuesSize(const QXColumn& column);
    static bool GetNulls(PlainReader& in, QXColumn& column);
    static bool GetValues(PlainReader& in, QXColumn& column);
    static bool GetBools(PlainReader& in, QXColumn& column);
    static bool GetBytes(PlainReader& in, QXColumn& column);
    static bool GetMixed(PlainReader& in, QXColumn& column);
    static bool GetHeap(PlainReader& in, QXColumn& column, std::uint64_t size);
    static QXBuffer<std::uint32_t> Lengths(const QXColumn& column);
    static QXBuffer<std::int64_t> MixedWords(const QXColumn& column);
};

}  // namespace CQXDB
