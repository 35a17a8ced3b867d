#include "messages/reply_details.h"

#include <cstdint>
#include <string>

#include "objects/encoding/cdr_fields.h"

namespace CQXBASE {
namespace {

using CQXDB::QXCountList;
using CQXDB::QXNotice;

/// "QXD1", little-endian: other bytes behind a record are somebody else's.
constexpr std::uint32_t kMark = 0x31445851;
constexpr std::size_t kRunNumbers = 8;
constexpr std::size_t kSmallestNotice = 3 * encoding::kNumberSize;

bool WriteInt64(ACE_OutputCDR& out, std::int64_t value) {
    const auto bits = static_cast<std::uint64_t>(value);
    return encoding::WriteULong(out, static_cast<std::uint32_t>(bits)) &&
           encoding::WriteULong(out, static_cast<std::uint32_t>(bits >> 32U));
}

bool ReadInt64(ACE_InputCDR& in, std::int64_t& value) {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    if (!encoding::ReadULong(in, low) || !encoding::ReadULong(in, high)) {
        return false;
    }
    value = static_cast<std::int64_t>(std::uint64_t{high} << 32U | low);
    return true;
}

bool WriteRun(ACE_OutputCDR& out, const QXCountList::Run& run) {
    return WriteInt64(out, static_cast<std::int64_t>(run.commands)) &&
           WriteInt64(out, run.first.rowsAffected) && WriteInt64(out, run.first.lastInsertId) &&
           WriteInt64(out, run.idStep);
}

bool ReadRun(ACE_InputCDR& in, QXCountList& counts) {
    std::int64_t commands = 0;
    QXCountList::Run run;
    if (!ReadInt64(in, commands) || !ReadInt64(in, run.first.rowsAffected) ||
        !ReadInt64(in, run.first.lastInsertId) || !ReadInt64(in, run.idStep) || commands < 1 ||
        commands > INT64_MAX - static_cast<std::int64_t>(counts.Count())) {
        return false;
    }
    run.commands = static_cast<std::uint64_t>(commands);
    counts.AddRun(run);
    return true;
}

bool WriteNotice(ACE_OutputCDR& out, const QXNotice& notice) {
    return encoding::WriteLong(out, static_cast<std::int32_t>(notice.code)) &&
           encoding::WriteWide(out, notice.level) && encoding::WriteWide(out, notice.text);
}

bool ReadNotice(ACE_InputCDR& in, std::vector<QXNotice>& notices) {
    QXNotice& notice = notices.emplace_back();
    std::int32_t code = 0;
    const bool read = encoding::ReadLong(in, code) && encoding::ReadWide(in, notice.level) &&
                      encoding::ReadWide(in, notice.text);
    notice.code = code;
    return read;
}

bool ReadAll(ACE_InputCDR& in, ReplyDetails& details) {
    std::uint32_t mark = 0;
    std::uint32_t count = 0;
    if (!encoding::ReadULong(in, mark) || mark != kMark ||
        !encoding::ReadCount(in, count, kRunNumbers * encoding::kNumberSize)) {
        return false;
    }
    for (; count > 0; --count) {
        if (!ReadRun(in, details.counts)) {
            return false;
        }
    }
    if (!encoding::ReadCount(in, count, kSmallestNotice) || count > kMostReplyNotices) {
        return false;
    }
    for (; count > 0; --count) {
        if (!ReadNotice(in, details.notices)) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool WriteDetails(ACE_OutputCDR& out, const ReplyDetails& details) {
    if (details.Empty()) {
        return true;
    }
    bool written =
        encoding::WriteULong(out, kMark) && encoding::WriteCount(out, details.counts.Runs().size());
    for (const QXCountList::Run& run : details.counts.Runs()) {
        written = written && WriteRun(out, run);
    }
    written = written && encoding::WriteCount(out, details.notices.size());
    for (const QXNotice& notice : details.notices) {
        written = written && WriteNotice(out, notice);
    }
    return written;
}

std::size_t DetailsSize(const ReplyDetails& details) {
    if (details.Empty()) {
        return 0;
    }
    std::size_t bytes = 4 * encoding::kNumberSize;  // mark, two counts, alignment
    bytes += details.counts.Runs().size() * kRunNumbers * encoding::kNumberSize;
    for (const QXNotice& notice : details.notices) {
        bytes +=
            kSmallestNotice + encoding::WideSize(notice.level) + encoding::WideSize(notice.text);
    }
    return bytes;
}

ReplyDetails ReadDetails(encoding::BoundedInput& in) {
    ReplyDetails details;
    return in.good_bit() && in.length() != 0 && ReadAll(in, details) ? details : ReplyDetails();
}

}  // namespace CQXBASE
