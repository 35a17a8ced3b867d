#include <string>

#include <Poco/Data/SQLite/Connector.h>
#include <Poco/Data/SQLite/Utility.h>
#include <Poco/Data/Session.h>
#include <Poco/Exception.h>
#include <Poco/URI.h>

#include "adapter/sqlite/errors.h"
#include "adapter/sqlite/open.h"

namespace CQXDB::adapter::sqlite {
namespace {

/// POCO opens for writing and creates the file, unless a URI says otherwise.
std::string ConnectionText(const SqliteSettings& settings) {
    const bool create = (settings.openFlags & SQLITE_OPEN_CREATE) != 0;
    if (create || settings.path.compare(0, 5, "file:") == 0) {
        return settings.path;
    }
    std::string escaped;
    Poco::URI::encode(settings.path, "?#%", escaped);
    const bool readOnly = (settings.openFlags & SQLITE_OPEN_READONLY) != 0;
    return "file:" + escaped + (readOnly ? "?mode=ro" : "?mode=rw");
}

}  // namespace

SqliteFile OpenPocoSqlite(const SqliteSettings& settings) {
    static const bool registered = (Poco::Data::SQLite::Connector::registerConnector(), true);
    static_cast<void>(registered);
    using Poco::Data::Session;
    std::shared_ptr<Session> session;
    try {
        // The time is how long POCO would go on trying a path that does not open.
        session = std::make_shared<Session>(Poco::Data::SQLite::Connector::KEY,
                                            ConnectionText(settings), 0);
    } catch (const Poco::Exception& error) {
        // POCO drops SQLite's code and the system's reason; opening once more brings them back.
        OpenSqlite(settings);
        throw DatabaseError(SQLITE_CANTOPEN, error.displayText());
    }
    sqlite3* db = Poco::Data::SQLite::Utility::dbHandle(*session);
    ConfigureSqlite(db, settings);
    return {session, db};
}

}  // namespace CQXDB::adapter::sqlite
