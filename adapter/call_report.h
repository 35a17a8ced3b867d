// What a call has to tell beside its result.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <qxdb/QXNotice.h>

namespace CQXDB::adapter {

/// Collected on the call's thread.
class CallReport {
  public:
    /// Keeps the first ones, a statement may give one a row, as far as there is memory. The texts
    /// are UTF-8.
    void AddNotice(const char* level, long code, const std::string& text) noexcept;
    bool TakesNotices() const noexcept { return notices.size() < kMostNotices; }

    std::vector<QXNotice> notices;

  private:
    static constexpr std::size_t kMostNotices = 100;
    static constexpr std::size_t kMostBytes = std::size_t{256} << 10;

    std::size_t bytes_ = 0;
};

}  // namespace CQXDB::adapter
