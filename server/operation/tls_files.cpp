#include "server/operation/tls_files.h"

#include <system_error>

#include <openssl/x509.h>

#include "platform/files/access.h"
#include "server/log.h"
#include "server/server_error.h"
#include "tls/names.h"
#include "tls/tls_error.h"

namespace CQXSERVER::operation {
namespace {

namespace fs = std::filesystem;
namespace tls = CQXBASE::tls;

/// A folder that can't be looked into is no reason to go without TLS.
bool IsThere(const fs::path& file) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (status.type() == fs::file_type::none) {
        throw OperatorError("can't read '" + file.u8string() + "': " + error.message());
    }
    return fs::exists(status);
}

void ChooseFiles(TlsOptions& chosen, const std::string& dataDir) {
    if (!chosen.certificate.empty()) {
        chosen.key = chosen.key.empty() ? chosen.certificate : chosen.key;
        return;
    }
    if (!chosen.key.empty()) {
        throw OperatorError("a key for TLS is given, but no certificate");
    }
    const OwnTlsFiles own(dataDir);
    if (IsThere(own.certificate)) {
        chosen.certificate = own.certificate.u8string();
        chosen.key = own.key.u8string();
    }
}

tls::Context Load(const TlsOptions& chosen) {
    tls::ServerSettings settings;
    settings.certificateFile = chosen.certificate;
    settings.keyFile = chosen.key;
    settings.clientCaFile = chosen.clientCa;
    settings.oldestVersion = chosen.minVersion;
    settings.ciphers = chosen.ciphers;
    settings.cipherSuites = chosen.cipherSuites;
    try {
        return tls::ServerContext(settings);
    } catch (const tls::TlsError& e) {
        throw OperatorError(std::string("TLS: ") + e.what());
    }
}

void Introduce(const tls::Context& context, const TlsOptions& chosen) {
    const X509* const certificate = SSL_CTX_get0_certificate(context.get());
    LogAt(Poco::Message::PRIO_NOTICE, "TLS: ", chosen.required ? "required" : "on",
          "; certificate for ", tls::HostsText(*certificate), ", valid until ",
          tls::TimeText(*X509_get0_notAfter(certificate)),
          chosen.clientCa.empty() ? "" : "; clients need one too");
    for (const std::string& each : tls::CertificateWarnings(context)) {
        LogWarning(each);
    }
    if (CQXBASE::platform::files::OpenToOthers(fs::u8path(chosen.key))) {
        LogWarning("'", chosen.key,
                   "' holds the server's key, and others than its owner can read or change it");
    }
}

}  // namespace

OwnTlsFiles::OwnTlsFiles(const std::string& dataDir)
    : folder(fs::u8path(dataDir) / "tls"),
      ca(folder / "ca.pem"),
      caKey(folder / "ca-key.pem"),
      certificate(folder / "server.pem"),
      key(folder / "server-key.pem") {}

tls::Context LoadTls(const ServerOptions& options) {
    TlsOptions chosen = options.tls;
    ChooseFiles(chosen, options.dataDir);
    if (chosen.certificate.empty()) {
        if (chosen.required || !chosen.clientCa.empty()) {
            throw OperatorError(
                std::string(chosen.required ? "TLS is required" : "a CA of clients is given") +
                ", but the server has no certificate: 'qxdbserver tls init' makes "
                "one, --tls-certificate names one of yours");
        }
        LogAt(Poco::Message::PRIO_NOTICE, "TLS: off, there is no certificate");
        return nullptr;
    }
    tls::Context context = Load(chosen);
    Introduce(context, chosen);
    return context;
}

}  // namespace CQXSERVER::operation
