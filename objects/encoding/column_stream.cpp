#include "objects/encoding/column_stream.h"

#include <algorithm>
#include <limits>

namespace CQXDB::encoding {
namespace {

constexpr std::size_t kBlockEnd = std::size_t{1} << 20;
constexpr std::size_t kBlockHeader = 3 * CQXBASE::encoding::kNumberSize;

/// How many bytes of padding a block needs for its budget, with `stored` bytes of its own.
std::size_t PaddingFor(std::size_t stored, std::size_t plain, std::uint64_t expansion) {
    const std::uint64_t need = std::max<std::uint64_t>(plain, expansion);
    const std::uint64_t have = BlockBudget(stored);
    return need <= have ? 0 : static_cast<std::size_t>((need - have + 127) / 128);
}

}  // namespace

void ColumnWriter::Add(const QXColumn& column, std::size_t rowWeight) {
    if (!good_ || column.RowCount() > ColumnCodec::kMaxRows) {
        good_ = false;
        return;
    }
    ColumnCodec::Put(plain_, column);
    expansion_ += ColumnCodec::Expansion(column, rowWeight);
    if (plain_.size() >= kBlockEnd) {
        good_ = WriteBlock();
    }
}

bool ColumnWriter::Finish() {
    good_ = good_ && (plain_.empty() || WriteBlock()) && out_.good_bit();
    return good_;
}

bool ColumnWriter::WriteBlock() {
    const PlainBytes& stored = packer_.Pack(plain_, packed_) ? packed_ : plain_;
    const std::size_t padding = PaddingFor(stored.size(), plain_.size(), expansion_);
    const bool written =
        plain_.size() <= std::numeric_limits<std::uint32_t>::max() &&
        CQXBASE::encoding::WriteCount(out_, plain_.size()) &&
        CQXBASE::encoding::WriteCount(out_, stored.size()) &&
        CQXBASE::encoding::WriteCount(out_, padding) &&
        out_.write_char_array(stored.data(), static_cast<ACE_CDR::ULong>(stored.size())) &&
        WritePadding(padding);
    plain_.Clear();
    expansion_ = 0;
    return written;
}

bool ColumnWriter::WritePadding(std::size_t size) {
    static constexpr char kZeros[4096] = {};
    for (std::size_t left = size; left != 0;) {
        const std::size_t part = std::min(left, sizeof kZeros);
        if (!out_.write_char_array(kZeros, static_cast<ACE_CDR::ULong>(part))) {
            return false;
        }
        left -= part;
    }
    return true;
}

void ColumnsSize::Add(const QXColumn& column, std::size_t rowWeight) {
    plain_ += ColumnCodec::Size(column);
    expansion_ += ColumnCodec::Expansion(column, rowWeight);
    if (plain_ >= kBlockEnd) {
        finished_ = Total();
        plain_ = 0;
        expansion_ = 0;
    }
}

std::size_t ColumnsSize::Total() const noexcept {
    if (plain_ == 0) {
        return finished_;
    }
    // Compression may leave so few bytes that padding brings them up again, to at most this.
    const std::size_t stored = std::max(plain_, PaddingFor(0, plain_, expansion_));
    return finished_ + kBlockHeader + CQXBASE::encoding::kNumberSize + stored;
}

bool ColumnReader::Read(QXColumn& column, std::size_t rows, std::size_t rowWeight) {
    column = QXColumn();
    return (plain_.Left() != 0 || NextBlock()) &&
           (ColumnCodec::Get(plain_, column, rows, rowWeight, budget_) ||
            CQXBASE::encoding::Refuse(in_));
}

bool ColumnReader::Finish() {
    return plain_.Left() == 0 ? in_.good_bit() : CQXBASE::encoding::Refuse(in_);
}

bool ColumnReader::NextBlock() {
    std::uint32_t plain = 0;
    std::uint32_t stored = 0;
    std::uint32_t padding = 0;
    if (!CQXBASE::encoding::ReadULong(in_, plain) || !CQXBASE::encoding::ReadULong(in_, stored) ||
        !CQXBASE::encoding::ReadULong(in_, padding)) {
        return false;
    }
    const std::uint64_t present = std::uint64_t{stored} + padding;
    if (present > in_.length() || stored > plain || plain > BlockBudget(present)) {
        return CQXBASE::encoding::Refuse(in_);
    }
    budget_ = ExpansionBudget(BlockBudget(present), memory_);
    const char* bytes = in_.rd_ptr();
    in_.skip_bytes(present);
    if (stored != plain) {
        if (!MakeRoom(plain) || !ZstdUnpack(bytes, stored, unpacked_.data(), plain)) {
            return CQXBASE::encoding::Refuse(in_);
        }
        bytes = unpacked_.data();
    }
    plain_ = PlainReader(bytes, plain);
    return true;
}

/// For a block's columns, in the room of those before.
bool ColumnReader::MakeRoom(std::size_t plain) {
    if (memory_ != nullptr && plain > unpacked_.size() &&
        !memory_->Take(plain - unpacked_.size())) {
        return false;
    }
    unpacked_.Resize(std::max(plain, unpacked_.size()));
    return true;
}

}  // namespace CQXDB::encoding
