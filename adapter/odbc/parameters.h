// Parameters on their way through ODBC.
#pragma once

#include <deque>
#include <string>
#include <variant>

#include "adapter/connection.h"
#include "adapter/odbc/text.h"

namespace CQXDB::adapter::odbc {

class OdbcConnection;

/// Binds a statement's parameters and keeps what the driver reads them from, until it is destroyed.
class OdbcParameters {
  public:
    /// `values` must outlive the object. Throws DatabaseError.
    OdbcParameters(OdbcConnection& connection, SQLHSTMT statement, const Parameters& values);
    OdbcParameters(const OdbcParameters&) = delete;
    OdbcParameters& operator=(const OdbcParameters&) = delete;
    ~OdbcParameters();

  private:
    using Buffer = std::variant<SQLCHAR, SQLBIGINT, double, std::string, OdbcText, SQL_DATE_STRUCT,
                                SQL_TIMESTAMP_STRUCT>;
    struct Form {
        SQLSMALLINT cType;
        SQLSMALLINT sqlType;
        SQLULEN size;
        SQLSMALLINT digits = 0;
    };

    void Add(const QXValue& value);
    void AddNull();
    void AddDecimal(std::string_view text);
    void AddText(std::string_view text);
    void AddTimestamp(std::int64_t micros);
    void Bind(const Form& form, const void* data, SQLLEN bytes);
    template <typename Number>
    void AddFixed(const Form& form, const Number& number);

    OdbcConnection& connection_;
    SQLHSTMT statement_;
    std::deque<Buffer> buffers_;
    std::deque<SQLLEN> lengths_;
    SQLUSMALLINT count_ = 0;
};

}  // namespace CQXDB::adapter::odbc
