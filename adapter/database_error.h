// The one exception that travels inside this folder; the managers turn it into a code and a text.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>

#include <qxdb/DBMgrErrors.h>

namespace CQXDB::adapter {

class DatabaseError : public std::runtime_error {
  public:
    /// `text` is UTF-8.
    DatabaseError(long code, const std::string& text, std::size_t commandsAgo = 0)
        : std::runtime_error(text), code_(code), commandsAgo_(commandsAgo) {}
    long Code() const noexcept { return code_; }
    /// How many commands were handed over behind the one that failed.
    std::size_t CommandsAgo() const noexcept { return commandsAgo_; }

  private:
    long code_;
    std::size_t commandsAgo_;
};

}  // namespace CQXDB::adapter
