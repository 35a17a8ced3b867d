#include <qxdb/QXDataSource.h>

#include "objects/encoding/cdr_fields.h"

namespace CQXDB {

void QXDataSource::init(const std::wstring& newName, CQXDB_DSType_ENUM newType,
                        const std::wstring& newServer, long newPort,
                        const std::wstring& newDatabase, const std::wstring& newUser,
                        const std::wstring& newPassword, bool newTrusted,
                        const std::string& newOptions, int newVersion) {
    name = newName;
    type = newType;
    server = newServer;
    port = static_cast<std::int32_t>(newPort);
    database = newDatabase;
    user = newUser;
    password = newPassword;
    trusted = newTrusted;
    options = newOptions;
    version = newVersion;
}

void QXDataSource::initDriver(CQXDB_DriverType_ENUM newDriver, const std::wstring& newDriverName,
                              const std::wstring& newDsn, const std::wstring& newConnectionString,
                              const std::wstring& newExtra) {
    driver = newDriver;
    driverName = newDriverName;
    dsn = newDsn;
    connectionString = newConnectionString;
    extra = newExtra;
}

int QXDataSource::toCDR(ACE_OutputCDR& out) const {
    using namespace CQXBASE;
    return WriteWide(out, name) && WriteLong(out, type) && WriteWide(out, server) &&
           WriteLong(out, port) && WriteWide(out, database) && WriteWide(out, user) &&
           WriteWide(out, password) && WriteLong(out, trusted ? 1 : 0) &&
           WriteNarrow(out, options) && WriteLong(out, version) && WriteLong(out, driver) &&
           WriteWide(out, driverName) && WriteWide(out, dsn) && WriteWide(out, connectionString) &&
           WriteWide(out, extra);
}

int QXDataSource::fromCDR(ACE_InputCDR& in) {
    using namespace CQXBASE;
    std::int32_t typeNumber = 0;
    std::int32_t trustedNumber = 0;
    std::int32_t driverNumber = 0;
    const bool read = ReadWide(in, name) && ReadLong(in, typeNumber) && ReadWide(in, server) &&
                      ReadLong(in, port) && ReadWide(in, database) && ReadWide(in, user) &&
                      ReadWide(in, password) && ReadLong(in, trustedNumber) &&
                      ReadNarrow(in, options) && ReadLong(in, version) &&
                      ReadLong(in, driverNumber) && ReadWide(in, driverName) && ReadWide(in, dsn) &&
                      ReadWide(in, connectionString) && ReadWide(in, extra);
    type = static_cast<CQXDB_DSType_ENUM>(typeNumber);
    trusted = trustedNumber != 0;
    driver = static_cast<CQXDB_DriverType_ENUM>(driverNumber);
    return read;
}

std::size_t QXDataSource::size() {
    using CQXBASE::WideSize;
    return 5 * CQXBASE::kNumberSize + WideSize(name) + WideSize(server) + WideSize(database) +
           WideSize(user) + WideSize(password) + CQXBASE::NarrowSize(options) +
           WideSize(driverName) + WideSize(dsn) + WideSize(connectionString) + WideSize(extra);
}

}  // namespace CQXDB
