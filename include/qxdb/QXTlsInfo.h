// How an agent protects its connection to the application server.
#pragma once

#include <string>

namespace CQXDB {

enum QXTlsVersion { QXTLS_1_2 = 12, QXTLS_1_3 = 13 };

/// What a call reports when a connection with TLS doesn't come about, or ends through TLS itself.
/// The text says what to do. A server that is silent, or can't be reached at all, keeps its
/// socket's number.
enum QXTlsError : int {
    QXTLS_FAILED = -5020,               ///< anything else; the text has OpenSSL's reason
    QXTLS_UNTRUSTED = -5021,            ///< no certificate that is trusted has issued the server's
    QXTLS_EXPIRED = -5022,              ///< the server's certificate, or one of its issuers'
    QXTLS_NOT_YET_VALID = -5023,        ///< the same, before its time
    QXTLS_WRONG_NAME = -5024,           ///< the certificate is for another host
    QXTLS_NOT_SPOKEN = -5025,           ///< the other side speaks no TLS
    QXTLS_CERTIFICATE_WANTED = -5026,   ///< the server asks for a certificate of the client
    QXTLS_CERTIFICATE_REFUSED = -5027,  ///< the server doesn't take the client's certificate
    QXTLS_NO_COMMON_VERSION = -5028,    ///< or no common cipher
    QXTLS_BAD_SETTINGS = -5029,         ///< a file can't be read, or is not what it should be
    QXTLS_NOT_ASYNCHRONOUS = -5030,     ///< the asynchronous exchange has no TLS
};

/// Off unless `enabled` is set. With it every connection begins with a TLS handshake, behind the
/// proxy's tunnel if there is a proxy, and the server proves who it is before a byte of a request
/// leaves. Inside TLS frames travel plain: the cipher of frames would add nothing but time.
///
/// Paths are the host's own; files are PEM and are read at each connect, so that a renewed one is
/// used without further ado. SSL_CERT_FILE and SSL_CERT_DIR of the environment have no say.
struct QXTlsInfo {
    bool enabled = false;
    /// The certificates of those who may issue a server's. Empty: those that the platform trusts
    /// (Windows' ROOT store; elsewhere OpenSSL's folder, /etc/ssl/certs on Debian).
    std::wstring caFile;
    /// The client's certificate, with its issuers behind it, for servers that ask for one.
    std::wstring certificateFile;
    /// The key of that certificate, not encrypted. Empty: it stands in the same file.
    std::wstring keyFile;
    /// The host name or IP address that the server's certificate must be for. Empty: the host that
    /// the agent connects to.
    std::wstring serverName;
    /// Takes any certificate, anybody's: what is sent can't be read on its way, unless by one who
    /// has put himself between.
    bool trustAnyServerWithoutVerification = false;
    QXTlsVersion oldestVersion = QXTLS_1_3;
};

inline bool operator==(const QXTlsInfo& a, const QXTlsInfo& b) {
    return a.enabled == b.enabled && a.caFile == b.caFile &&
           a.certificateFile == b.certificateFile && a.keyFile == b.keyFile &&
           a.serverName == b.serverName &&
           a.trustAnyServerWithoutVerification == b.trustAnyServerWithoutVerification &&
           a.oldestVersion == b.oldestVersion;
}
inline bool operator!=(const QXTlsInfo& a, const QXTlsInfo& b) {
    return !(a == b);
}

}  // namespace CQXDB
