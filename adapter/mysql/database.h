// MySQL and MariaDB, as one of the adapter's databases.
#pragma once

#include "adapter/database.h"

namespace CQXDB::adapter::mysql {

extern const Database kDatabase;

}  // namespace CQXDB::adapter::mysql
