// The stretch of a call in which its connection reports.
#pragma once

#include "adapter/connection.h"

namespace CQXDB::adapter {

class ReportedWork {
  public:
    /// `report` may be null.
    ReportedWork(Connection& connection, CallReport* report) noexcept : connection_(connection) {
        connection_.SetReport(report);
    }
    ReportedWork(const ReportedWork&) = delete;
    ReportedWork& operator=(const ReportedWork&) = delete;
    ~ReportedWork() { connection_.SetReport(nullptr); }

  private:
    Connection& connection_;
};

}  // namespace CQXDB::adapter
