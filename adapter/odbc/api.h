// ODBC's own functions and types, as POCO's connector includes them on every platform.
#pragma once

#include <cstdint>

#include <Poco/Data/ODBC/ODBC.h>
#include <Poco/Data/ODBC/Unicode.h>

namespace CQXDB::adapter::odbc {

/// A numeric attribute, which ODBC takes in place of a pointer.
inline SQLPOINTER OdbcNumber(std::uintptr_t number) noexcept {
    return reinterpret_cast<SQLPOINTER>(number);  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace CQXDB::adapter::odbc
