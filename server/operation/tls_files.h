// The certificates that the server works with.
#pragma once

#include <filesystem>
#include <string>

#include "server/server_options.h"
#include "tls/context.h"

namespace CQXSERVER::operation {

/// Where a data folder has the certificates that the server has made for itself.
struct OwnTlsFiles {
    explicit OwnTlsFiles(const std::string& dataDir);

    std::filesystem::path folder;
    std::filesystem::path ca;
    std::filesystem::path caKey;
    std::filesystem::path certificate;  ///< the server's
    std::filesystem::path key;
};

/// Reads the operator's certificates, or else the data folder's own; null when there are none.
/// Tells the log what is in force and what to mind. Throws OperatorError. Thread-safe.
CQXBASE::tls::Context LoadTls(const ServerOptions& options);

}  // namespace CQXSERVER::operation
