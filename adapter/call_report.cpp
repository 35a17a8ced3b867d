#include "adapter/call_report.h"

#include <new>

#include "util/text.h"

namespace CQXDB::adapter {

void CallReport::AddNotice(const char* level, long code, const std::string& text) noexcept {
    bytes_ += text.size();
    try {
        if (TakesNotices() && bytes_ <= kMostBytes) {
            notices.push_back({CQXBASE::Utf8ToWide(level), code, CQXBASE::Utf8ToWide(text)});
        }
    } catch (const std::bad_alloc&) {
        // What was done is no failure for that.
    }
}

}  // namespace CQXDB::adapter
