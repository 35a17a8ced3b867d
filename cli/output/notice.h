// What a database says beside its results.
#pragma once

#include <cstddef>
#include <ostream>
#include <vector>

#include <qxdb/QXNotice.h>

namespace CQXCLI::output {

/// One line, or those that its text has: "NOTICE: the table exists already".
void WriteNotice(std::ostream& out, const CQXDB::QXNotice& notice);

/// Keeps the first ones only, of what may give one for each of a million rows.
class FirstNotices {
  public:
    void Add(const CQXDB::QXNotice& notice);
    /// Also how many there were beyond those.
    void Write(std::ostream& out) const;

  private:
    std::vector<CQXDB::QXNotice> first_;
    std::size_t count_ = 0;
};

}  // namespace CQXCLI::output
