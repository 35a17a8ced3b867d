// Parameters on their way into SQLite.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include <sqlite3.h>

#include <qxdb/QXColumn.h>
#include <qxdb/QXDateTime.h>

#include "adapter/connection.h"

namespace CQXDB::adapter::sqlite {

/// Binds all parameters of one statement, again and again. Texts and blobs are not copied: they
/// must live on, unchanged, until the statement has been reset; after that nothing looks at them.
/// Throws DatabaseError for a value that SQLite can't keep as it is.
class SqliteBinder {
  public:
    SqliteBinder(sqlite3* db, sqlite3_stmt* statement) noexcept;

    std::size_t Count() const noexcept { return count_; }
    /// `parameters` are Count() many.
    void Bind(const Parameters& parameters);
    /// The values of one row.
    void Bind(const std::vector<QXColumn>& parameters, std::size_t row);
    /// The statement has been reset. Gives back what SQLite may have made of large values.
    void Done() noexcept;

  private:
    struct Value;

    void Set(int index, const Value& value);
    int SetBytes(int index, const Value& value);
    int SetTime(int index, const Value& value);

    sqlite3* db_;
    sqlite3_stmt* statement_;
    std::size_t count_;
    std::size_t bytes_ = 0;                      ///< of the texts and blobs that are bound
    std::vector<QXDateTime::TextRoom> written_;  ///< texts of dates and times, by parameter
};

}  // namespace CQXDB::adapter::sqlite
