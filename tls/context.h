// What one side of TLS brings along: its certificate, whom it trusts, versions and ciphers.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <openssl/ssl.h>

#include <qxdb/QXTlsInfo.h>

namespace CQXBASE::tls {

/// Shared by the connections made with it, on any thread.
using Context = std::shared_ptr<SSL_CTX>;

/// For a client. Reads the files that `info` names. Throws TlsError, std::bad_alloc.
Context ClientContext(const CQXDB::QXTlsInfo& info);

struct ServerSettings {
    std::string certificateFile;  ///< PEM, UTF-8 path, its issuers behind the server's own
    std::string keyFile;          ///< PEM, UTF-8 path, not encrypted
    /// Who may issue the certificate that every client then needs. "": clients need none.
    std::string clientCaFile;
    CQXDB::QXTlsVersion oldestVersion = CQXDB::QXTLS_1_2;
    std::string ciphers;       ///< of TLS 1.2, as OpenSSL writes them; "": the usual ones
    std::string cipherSuites;  ///< of TLS 1.3
};

/// For a server. It gives its clients no session tickets: a connection with nothing under way has
/// nothing to read. Throws TlsError, std::bad_alloc.
Context ServerContext(const ServerSettings& settings);

/// What an operator should know of the certificate in a server's context: sentences, none when all
/// is well. Tells of one that is expired, or is within 30 days, or not valid yet.
std::vector<std::string> CertificateWarnings(const Context& context);

}  // namespace CQXBASE::tls
