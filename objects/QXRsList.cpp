#include <qxdb/QXRsList.h>

#include "objects/encoding/bounded_input.h"
#include "objects/encoding/cdr_fields.h"
#include "objects/encoding/format_version.h"
#include "objects/encoding/read_whole.h"

namespace CQXDB {
namespace {

constexpr std::size_t kLeastRecordset = 6 * CQXBASE::encoding::kNumberSize;

}  // namespace

int QXRsList::toCDR(ACE_OutputCDR& out) const {
    if (!encoding::WriteVersion(out) || !CQXBASE::encoding::WriteCount(out, recordsets_.size())) {
        return 0;
    }
    for (const QXRecordset& recordset : recordsets_) {
        if (recordset.toCDR(out) == 0) {
            return 0;
        }
    }
    return 1;
}

int QXRsList::fromCDR(ACE_InputCDR& in) {
    RemoveAll();
    std::uint32_t count = 0;
    if (!encoding::ReadVersion(in) || !CQXBASE::encoding::ReadCount(in, count, kLeastRecordset)) {
        return 0;
    }
    CQXBASE::encoding::DecodeMemory* const memory = CQXBASE::encoding::MemoryOf(in);
    const auto read = [&] {
        for (std::uint32_t i = 0; i < count; ++i) {
            if (memory != nullptr && !memory->Take(sizeof(QXRecordset))) {
                return 0;
            }
            if (recordsets_.emplace_back().fromCDR(in) == 0) {
                return 0;
            }
        }
        return 1;
    };
    return encoding::ReadWhole(read, [this] { RemoveAll(); });
}

std::size_t QXRsList::size() {
    std::size_t bytes = 2 * CQXBASE::encoding::kNumberSize;
    for (QXRecordset& recordset : recordsets_) {
        bytes +=
            recordset.size() + CQXBASE::encoding::kNumberSize;  // a recordset may end unaligned
    }
    return bytes;
}

}  // namespace CQXDB
