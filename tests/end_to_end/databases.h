// The databases that the same work is done on.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/Platform.h"
#include "tests/support/TempDir.h"

namespace qxdb_test {

/// SQLite; on Linux a PostgreSQL and a MariaDB server too, which run as long as this lives.
class Databases {
  public:
    static constexpr std::size_t kCount = kOnWindows ? 1 : 3;
    static constexpr std::size_t kAllCount = kOnWindows ? 1 : 5;

    Databases();
    ~Databases();
    Databases(const Databases&) = delete;
    Databases& operator=(const Databases&) = delete;

    /// Names and URLs.
    const std::vector<std::pair<std::string, std::string>>& Urls() const noexcept { return urls_; }

    /// The same, and PostgreSQL and MariaDB through ODBC.
    std::vector<std::pair<std::string, std::string>> AllUrls() const;

  private:
    struct Servers;

    TempDir folder_;
    std::unique_ptr<Servers> servers_;
    std::vector<std::pair<std::string, std::string>> urls_;
};

}  // namespace qxdb_test
