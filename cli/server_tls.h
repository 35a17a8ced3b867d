// TLS to an application server, as the command line and the environment ask for it.
#pragma once

#include <string>

#include <qxdb/QXTlsInfo.h>

namespace CQXCLI {

/// Texts are UTF-8; empty: not given.
struct TlsOptions {
    bool on = false;
    std::string caFile;
    std::string certificateFile;
    std::string keyFile;
    std::string serverName;
    std::string oldestVersion;  ///< "1.2" or "1.3"
    bool trustAnyServer = false;

    /// Each option that is about TLS asks for it.
    bool Wanted() const;
};

/// Takes what the variables QXDB_TLS, QXDB_TLS_CA, QXDB_TLS_CERT, QXDB_TLS_KEY and QXDB_TLS_NAME
/// tell where the command line is silent; none of them when QXDB_TLS says no. Throws CliError
/// (kWrongUsage) when it says neither yes nor no.
TlsOptions WithEnvironment(TlsOptions options);

CQXDB::QXTlsInfo MakeTlsInfo(const TlsOptions& options);

/// Which option helps against an error of a connection; empty for most.
std::string TlsHint(long code);

}  // namespace CQXCLI
