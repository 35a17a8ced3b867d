// Everything behind an ODBC driver, as one of the adapter's databases.
#pragma once

#include "adapter/database.h"

namespace CQXDB::adapter::odbc {

extern const Database kDatabase;

}  // namespace CQXDB::adapter::odbc
