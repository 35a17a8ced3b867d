#include "server/operation/tls_files.h"

#include "server/server_error.h"
#include "tls/tls_error.h"

namespace CQXSERVER::operation {

CQXBASE::tls::Context LoadTls(const ServerOptions& options) {
    if (options.tls.certificate.empty()) {
        return nullptr;
    }
    CQXBASE::tls::ServerSettings settings;
    settings.certificateFile = options.tls.certificate;
    settings.keyFile = options.tls.key;
    settings.clientCaFile = options.tls.clientCa;
    try {
        return CQXBASE::tls::ServerContext(settings);
    } catch (const CQXBASE::tls::TlsError& e) {
        throw OperatorError(e.what());
    }
}

}  // namespace CQXSERVER::operation
