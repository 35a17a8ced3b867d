// The one exception that travels inside this folder; the managers turn it into a code and a text.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include <qxdb/DBMgrErrors.h>

namespace CQXDB::adapter {

class DatabaseError : public std::runtime_error {
  public:
    /// `text` is UTF-8.
    DatabaseError(long code, const std::string& text) : std::runtime_error(text), code_(code) {}
    long Code() const noexcept { return code_; }

  private:
    long code_;
};

}  // namespace CQXDB::adapter
