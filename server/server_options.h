// What an operator can choose, with the defaults.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <qxdb/QXTlsInfo.h>

namespace CQXSERVER {

constexpr std::size_t kKiB = 1024;
constexpr std::size_t kMiB = 1024 * kKiB;

/// Every bound that keeps one client from hurting the others. A duration is counted from the last
/// thing that the peer did unless said otherwise.
struct Limits {
    std::size_t maxFrameBytes = 64 * kMiB;       ///< body of one request, as it travels
    std::size_t maxResultBytes = 256 * kMiB;     ///< rows of one reply, as they lie in memory
    std::size_t maxBufferedBytes = 1024 * kMiB;  ///< request and reply frames of all connections
    std::size_t sqliteBytes = 1024 * kMiB;       ///< what statements on SQLite hold together
    std::size_t maxConnections = 4096;
    std::size_t maxSessions = 10000;
    /// Begun and not ended; each has a database connection of its own.
    std::size_t maxTransactions = 100;
    std::size_t maxTransactionsOfAccount = 20;

    std::chrono::milliseconds loginTimeout = std::chrono::minutes(1);  ///< silence before a login
    std::chrono::milliseconds idleTimeout = std::chrono::minutes(30);  ///< silence after one
    /// A frame that has begun, in either direction, must be through after this time, which grows by
    /// a second for every minBytesPerSecond that did travel.
    std::chrono::milliseconds requestTimeout = std::chrono::seconds(30);
    std::size_t minBytesPerSecond = 64 * kKiB;
    std::chrono::milliseconds sessionIdle = std::chrono::minutes(30);
    std::chrono::milliseconds sessionLifetime = std::chrono::hours(12);   ///< from the login
    std::chrono::milliseconds transactionIdle = std::chrono::minutes(1);  ///< without a command
    std::chrono::milliseconds statementTimeout = std::chrono::minutes(10);
    std::chrono::milliseconds graceTimeout = std::chrono::seconds(30);  ///< from the stop signal
};

/// What connection descriptions of a client's own are honoured.
struct ClientDataSources {
    bool allowed = false;
    /// "sqlite", "postgresql", "mysql" and "odbc" are all there are.
    std::vector<std::string> kinds = {"sqlite", "postgresql", "mysql", "odbc"};
    std::string folder;  ///< where SQLite files must be; "" is anywhere
};

/// Files are PEM, paths UTF-8. Without a certificate there is no TLS.
struct TlsOptions {
    /// The server's, its issuers' behind it; "" is the data folder's tls/server.pem, if it is
    /// there.
    std::string certificate;
    std::string key;        ///< not encrypted; "" is the certificate's file
    std::string clientCa;   ///< who issues the certificates that clients then need; "": they don't
    bool required = false;  ///< clients without TLS are refused
    CQXDB::QXTlsVersion minVersion = CQXDB::QXTLS_1_2;
    std::string ciphers;       ///< of TLS 1.2, as OpenSSL writes them; "" is the usual ones
    std::string cipherSuites;  ///< of TLS 1.3
};

struct ServerOptions {
    std::string dataDir;  ///< account store and the default database; made if missing
    std::string listen = "127.0.0.1:7777";  ///< HOST:PORT, [IPV6]:PORT; port 0 picks a free one
    std::string portFile;  ///< takes the port in decimal once listening; "" is none
    std::vector<std::pair<std::string, std::string>> databases;  ///< name and URL, in order
    ClientDataSources clientDataSources;
    TlsOptions tls;
    std::string logLevel = "information";  ///< one that IsLogLevel accepts
    unsigned workers = 0;                  ///< threads for database work; 0 picks by the machine
    unsigned loginWorkers = 1;             ///< threads for password hashing
    Limits limits;
};

}  // namespace CQXSERVER
