// Isolation levels as SQL writes them.
#pragma once

#include <string>

#include <qxdb/QXTransaction.h>

namespace CQXDB::adapter {

/// "ISOLATION LEVEL SERIALIZABLE"; "" for the default. Throws DatabaseError for what is no level.
std::string IsolationText(QXIsolation isolation);

}  // namespace CQXDB::adapter
