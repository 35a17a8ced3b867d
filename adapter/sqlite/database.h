// SQLite, as one of the adapter's databases.
#pragma once

#include "adapter/database.h"

namespace CQXDB::adapter::sqlite {

extern const Database kDatabase;

}  // namespace CQXDB::adapter::sqlite
