// What a reply tells beside its record: behind it, where readers that don't know it find nothing to
// read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <qxdb/QXCounts.h>
#include <qxdb/QXIOBase.h>
#include <qxdb/QXNotice.h>

namespace CQXBASE {

namespace encoding {
class BoundedInput;
}

/// More than any server sends; so many small ones would take far more memory than bytes.
constexpr std::uint32_t kMostReplyNotices = 1000;

struct ReplyDetails {
    CQXDB::QXCountList counts;             ///< of the commands that were executed
    std::vector<CQXDB::QXNotice> notices;  ///< of the database

    bool Empty() const noexcept { return counts.Count() == 0 && notices.empty(); }
};

/// Writes nothing for empty ones. False when the stream takes no more.
bool WriteDetails(ACE_OutputCDR& out, const ReplyDetails& details);
/// At least what WriteDetails writes, in bytes.
std::size_t DetailsSize(const ReplyDetails& details);

/// Reads what stands behind a record. What makes no sense is none.
ReplyDetails ReadDetails(encoding::BoundedInput& in);

/// A record with its details, to be sent.
class DetailedRecord : public QXIOBase {
  public:
    /// Both are borrowed.
    DetailedRecord(QXIOBase& record, const ReplyDetails& details) noexcept
        : record_(record), details_(details) {}

    int toCDR(ACE_OutputCDR& out) const override {
        return record_.toCDR(out) != 0 && WriteDetails(out, details_) ? 1 : 0;
    }
    int fromCDR(ACE_InputCDR& /*in*/) override { return 0; }
    std::size_t size() override { return record_.size() + DetailsSize(details_); }

  private:
    QXIOBase& record_;
    const ReplyDetails& details_;
};

}  // namespace CQXBASE
