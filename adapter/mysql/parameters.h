// Parameters on their way to MySQL or MariaDB.
#pragma once

#include <string>
#include <vector>

#include <mysql/mysql.h>

#include "adapter/connection.h"

namespace CQXDB::adapter::mysql {

/// The array that the client library takes. Decimals travel as decimals, dates and times as text.
class MySqlParameters {
  public:
    /// `values` must outlive the object. Throws DatabaseError for an infinity or NaN.
    explicit MySqlParameters(const Parameters& values);

    MYSQL_BIND* Data() noexcept { return binds_.data(); }

  private:
    void Add(const QXValue& value);
    void AddNumber(enum_field_types type, const void* number);
    void AddBytes(enum_field_types type, std::string_view bytes);
    void AddDouble(double number);

    // None grows beyond what is reserved: binds_ points into them.
    std::vector<std::string> texts_;
    std::vector<std::int64_t> integers_;
    std::vector<double> doubles_;
    std::vector<MYSQL_BIND> binds_;
};

}  // namespace CQXDB::adapter::mysql
