#include "cli/output/notice.h"

#include "cli/output/display_text.h"
#include "cli/output/progress.h"
#include "util/text.h"

namespace CQXCLI::output {

namespace {

constexpr std::size_t kMostShown = 20;

}  // namespace

void WriteNotice(std::ostream& out, const CQXDB::QXNotice& notice) {
    out << ErrorForDisplay(CQXBASE::WideToUtf8(notice.level + L": " + notice.text)) << '\n';
}

void FirstNotices::Add(const CQXDB::QXNotice& notice) {
    if (++count_ <= kMostShown) {
        first_.push_back(notice);
    }
}

void FirstNotices::Write(std::ostream& out) const {
    for (const CQXDB::QXNotice& notice : first_) {
        WriteNotice(out, notice);
    }
    if (count_ > first_.size()) {
        out << "... and " << Grouped(count_ - first_.size()) << " more\n";
    }
}

}  // namespace CQXCLI::output
