// The port of a data source that is reached over the network.
#pragma once

#include <cstdint>
#include <string>

#include <qxdb/QXDataSource.h>

#include "adapter/database_error.h"

namespace CQXDB::adapter {

/// 0 stands for the database's usual one. Throws DatabaseError for a number that is no port: a
/// client library may take it modulo 65536.
inline std::int32_t PortOf(const QXDataSource& dataSource) {
    if (dataSource.port < 0 || dataSource.port > 65535) {
        throw DatabaseError(
            DBMGR_BAD_DATA_SOURCE,
            "the data source's port is not within 0 to 65535: " + std::to_string(dataSource.port));
    }
    return dataSource.port;
}

}  // namespace CQXDB::adapter
