#include <algorithm>
#include <limits>

#include <qxdb/QXDataSource.h>

#include "objects/encoding/cdr_fields.h"
#include "util/text.h"

namespace CQXDB {

void QXDataSource::init(const std::wstring& newName, CQXDB_DSType_ENUM newType,
                        const std::wstring& newServer, long newPort,
                        const std::wstring& newDatabase, const std::wstring& newUser,
                        const std::wstring& newPassword, bool newTrusted,
                        const std::string& newOptions, int newVersion) {
    name = newName;
    type = newType;
    server = newServer;
    port = static_cast<std::int32_t>(std::clamp<long>(newPort,
                                                      std::numeric_limits<std::int32_t>::min(),
                                                      std::numeric_limits<std::int32_t>::max()));
    database = newDatabase;
    user = newUser;
    password = newPassword;
    trusted = newTrusted;
    options = CQXBASE::WideToUtf8(CQXBASE::ToWide(newOptions, CQXBASE::kCodePageAnsi));
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
    return encoding::WriteWide(out, name) && encoding::WriteLong(out, type) &&
           encoding::WriteWide(out, server) && encoding::WriteLong(out, port) &&
           encoding::WriteWide(out, database) && encoding::WriteWide(out, user) &&
           encoding::WriteWide(out, password) && encoding::WriteLong(out, trusted ? 1 : 0) &&
           encoding::WriteNarrow(out, options) && encoding::WriteLong(out, version) &&
           encoding::WriteLong(out, driver) && encoding::WriteWide(out, driverName) &&
           encoding::WriteWide(out, dsn) && encoding::WriteWide(out, connectionString) &&
           encoding::WriteWide(out, extra);
}

int QXDataSource::fromCDR(ACE_InputCDR& in) {
    using namespace CQXBASE;
    std::int32_t typeNumber = 0;
    std::int32_t trustedNumber = 0;
    std::int32_t driverNumber = 0;
    const bool read = encoding::ReadWide(in, name) && encoding::ReadLong(in, typeNumber) &&
                      encoding::ReadWide(in, server) && encoding::ReadLong(in, port) &&
                      encoding::ReadWide(in, database) && encoding::ReadWide(in, user) &&
                      encoding::ReadWide(in, password) && encoding::ReadLong(in, trustedNumber) &&
                      encoding::ReadNarrow(in, options) && encoding::ReadLong(in, version) &&
                      encoding::ReadLong(in, driverNumber) && encoding::ReadWide(in, driverName) &&
                      encoding::ReadWide(in, dsn) && encoding::ReadWide(in, connectionString) &&
                      encoding::ReadWide(in, extra);
    type = static_cast<CQXDB_DSType_ENUM>(typeNumber);
    trusted = trustedNumber != 0;
    driver = static_cast<CQXDB_DriverType_ENUM>(driverNumber);
    return read;
}

std::size_t QXDataSource::size() {
    using CQXBASE::encoding::WideSize;
    return 5 * CQXBASE::encoding::kNumberSize + WideSize(name) + WideSize(server) +
           WideSize(database) + WideSize(user) + WideSize(password) +
           CQXBASE::encoding::NarrowSize(options) + WideSize(driverName) + WideSize(dsn) +
           WideSize(connectionString) + WideSize(extra);
}

}  // namespace CQXDB
