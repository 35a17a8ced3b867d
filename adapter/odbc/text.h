// UTF-8 and the UTF-16 text of ODBC.
#pragma once

#include <string>
#include <string_view>

#include "adapter/odbc/api.h"

namespace CQXDB::adapter::odbc {

using OdbcText = std::basic_string<SQLWCHAR>;

OdbcText ToOdbcText(std::string_view utf8);
std::string FromOdbcText(const SQLWCHAR* units, std::size_t count);
/// Up to the NUL.
std::string FromOdbcText(const SQLWCHAR* text);

}  // namespace CQXDB::adapter::odbc
