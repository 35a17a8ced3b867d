// The head byte of an encoded column: the type in its low half, which rows are null in its high
// half.
#pragma once

#include <cstddef>
#include <cstdint>

#include <qxdb/QXEnums.h>

namespace CQXDB::encoding {

/// The numbers are wire values.
enum class NullCoding : std::uint8_t {
    None = 0,    ///< no row is null, or the column is Mixed and tells in its types
    Bitmap = 1,  ///< one bit a row, the lowest first; 1 is null
    All = 2,     ///< every row is null; nothing follows
};

struct ColumnHead {
    QXValueType type;
    NullCoding nulls;
};

constexpr std::uint8_t PackHead(ColumnHead head) noexcept {
    return static_cast<std::uint8_t>(static_cast<unsigned>(head.type) |
                                     static_cast<unsigned>(head.nulls) << 4);
}
constexpr ColumnHead UnpackHead(std::uint8_t byte) noexcept {
    return {static_cast<QXValueType>(byte & 15), static_cast<NullCoding>(byte >> 4)};
}
/// A peer may send any byte; these are the ones that mean something. No rows are all null.
constexpr bool IsValid(ColumnHead head, std::size_t rows) noexcept {
    if (head.type > QXValueType::Mixed || head.nulls > NullCoding::All) {
        return false;
    }
    if (head.type == QXValueType::Null || rows == 0) {
        return head.nulls == NullCoding::All;
    }
    return head.type != QXValueType::Mixed || head.nulls != NullCoding::Bitmap;
}

constexpr bool IsBytes(QXValueType type) noexcept {
    return type == QXValueType::Text || type == QXValueType::Decimal || type == QXValueType::Blob;
}
constexpr std::size_t NullBitmapSize(std::size_t rows) noexcept {
    return (rows + 7) / 8;
}

/// What a column of `rows` rows is charged against a block's budget: its object, and for each row
/// `rowWeight` and the most that a row takes in any column, null bit included. Rows of another part
/// may make the column Mixed, or give room to nulls that had none.
constexpr std::uint64_t ExpansionOf(std::size_t rows, std::size_t rowWeight) noexcept {
    return 256 + std::uint64_t{rows} * (10 + rowWeight);
}

}  // namespace CQXDB::encoding
