// One column in a block: head byte, name, null bitmap, values.
#pragma once

#include <cstddef>
#include <cstdint>

#include <qxdb/QXColumn.h>

#include "objects/encoding/column_head.h"
#include "objects/encoding/expansion_budget.h"
#include "objects/encoding/plain_bytes.h"

namespace CQXDB::encoding {

class ColumnCodec {
  public:
    static constexpr std::size_t kMaxRows = 0xFFFFFFFFU;

    static void Put(PlainBytes& out, const QXColumn& column);
    /// What Put adds, in bytes.
    static std::size_t Size(const QXColumn& column);
    /// Reads a column of `rows` rows into an empty one. False for anything malformed, and when its
    /// expansion, `rowWeight` more a row, is beyond the budget.
    static bool Get(PlainReader& in, QXColumn& column, std::size_t rows, std::size_t rowWeight,
                    ExpansionBudget& budget);
    /// What the column is charged when it is read.
    static std::uint64_t Expansion(const QXColumn& column, std::size_t rowWeight) noexcept;

  private:
    static ColumnHead HeadOf(const QXColumn& column) noexcept;
    static void PutValues(PlainBytes& out, const QXColumn& column);
    static std::size_t ValuesSize(const QXColumn& column);
    static void PutMixedBytes(PlainBytes& out, const QXColumn& column);
    static QXBuffer<std::int64_t> MixedWords(const QXColumn& column);
    static bool GetNulls(PlainReader& in, QXColumn& column);
    static bool GetValues(PlainReader& in, QXColumn& column, ExpansionBudget& budget);
    static bool GetBools(PlainReader& in, QXColumn& column);
    static bool GetMixed(PlainReader& in, QXColumn& column, ExpansionBudget& budget);
};

}  // namespace CQXDB::encoding
