#include "tls/context.h"

#include <ctime>
#include <new>

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include "platform/trust/trust_store.h"
#include "tls/names.h"
#include "tls/tls_error.h"
#include "util/text.h"

namespace CQXBASE::tls {
namespace {

using CQXDB::QXTlsInfo;
using CQXDB::QXTlsVersion;

/// Forward secrecy and authenticated encryption, which TLS 1.3 has by itself.
constexpr char kUsualCiphers[] = "ECDHE+AESGCM:ECDHE+CHACHA20";
/// The fastest of them comes first where the server chooses.
constexpr char kUsualSuites[] =
    "TLS_AES_128_GCM_SHA256:TLS_AES_256_GCM_SHA384:TLS_CHACHA20_POLY1305_SHA256";
constexpr std::time_t kRenewalTime = 30 * 86400;

[[noreturn]] void Refuse(const std::string& what) {
    std::string reason = TakeErrors();
    if (reason.find("password") != std::string::npos) {
        reason = "it is encrypted, which is not supported";
    }
    const std::string text = what + (reason.empty() ? "" : ": " + reason);
    throw TlsError({CQXDB::QXTLS_BAD_SETTINGS, Utf8ToWide(text)});
}

void Require(long done, const std::string& what) {
    if (done != 1) {
        Refuse(what);
    }
}

Context NewContext(const SSL_METHOD* method, QXTlsVersion oldest) {
    ForgetErrors();
    Context context(SSL_CTX_new(method), SSL_CTX_free);
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    const int version = oldest == CQXDB::QXTLS_1_2 ? TLS1_2_VERSION : TLS1_3_VERSION;
    Require(SSL_CTX_set_min_proto_version(context.get(), version), "the oldest version of TLS");
    SSL_CTX_set_options(context.get(), SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION);
    // Without an answer OpenSSL would ask at the terminal.
    SSL_CTX_set_default_passwd_cb(context.get(), [](char*, int, int, void*) { return 0; });
    return context;
}

/// How a file of another kind is told from one that isn't there.
std::string Named(const char* what, const std::string& path) {
    return std::string(what) + " '" + path + "' can't be used";
}

void UseCertificate(SSL_CTX& context, const std::string& certificate, const std::string& key) {
    Require(SSL_CTX_use_certificate_chain_file(&context, certificate.c_str()),
            Named("the certificate file", certificate));
    const std::string mismatch =
        "the key in '" + key + "' is not that of the certificate in '" + certificate + "'";
    if (SSL_CTX_use_PrivateKey_file(&context, key.c_str(), SSL_FILETYPE_PEM) != 1) {
        if (ERR_GET_REASON(ERR_peek_last_error()) == X509_R_KEY_VALUES_MISMATCH) {
            Refuse(mismatch);
        }
        Refuse(Named("the key file", key));
    }
    Require(SSL_CTX_check_private_key(&context), mismatch);  // keys of two kinds
}

void UseCiphers(SSL_CTX& context, const std::string& ciphers, const std::string& suites) {
    Require(SSL_CTX_set_cipher_list(&context, ciphers.empty() ? kUsualCiphers : ciphers.c_str()),
            "the ciphers '" + ciphers + "' of TLS 1.2");
    Require(SSL_CTX_set_ciphersuites(&context, suites.empty() ? kUsualSuites : suites.c_str()),
            "the cipher suites '" + suites + "' of TLS 1.3");
}

/// Seconds from now to `time`; negative when it is past.
std::time_t SecondsUntil(const ASN1_TIME* time) {
    constexpr std::time_t kDay = 86400;
    int days = 0;
    int seconds = 0;
    return ASN1_TIME_diff(&days, &seconds, nullptr, time) == 1 ? days * kDay + seconds : 0;
}

}  // namespace

Context ClientContext(const QXTlsInfo& info) {
    Context context = NewContext(TLS_client_method(), info.oldestVersion);
    UseCiphers(*context, "", "");
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    if (!info.certificateFile.empty()) {
        UseCertificate(*context, WideToUtf8(info.certificateFile),
                       WideToUtf8(info.keyFile.empty() ? info.certificateFile : info.keyFile));
    } else if (!info.keyFile.empty()) {
        Refuse("a key file is given, but no certificate file");
    }
    if (info.trustAnyServerWithoutVerification) {
        SSL_CTX_set_verify(context.get(), SSL_VERIFY_NONE, nullptr);
        return context;
    }
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
    if (!info.caFile.empty()) {
        const std::string file = WideToUtf8(info.caFile);
        Require(SSL_CTX_load_verify_file(context.get(), file.c_str()), Named("the CA file", file));
    } else if (!platform::trust::AddSystemTrust(*SSL_CTX_get_cert_store(context.get()))) {
        Refuse("this machine has no certificates to trust: give a CA file");
    }
    return context;
}

Context ServerContext(const ServerSettings& settings) {
    Context context = NewContext(TLS_server_method(), settings.oldestVersion);
    UseCiphers(*context, settings.ciphers, settings.cipherSuites);
    SSL_CTX_set_options(context.get(), SSL_OP_CIPHER_SERVER_PREFERENCE | SSL_OP_NO_TICKET);
    SSL_CTX_set_num_tickets(context.get(), 0);
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    SSL_CTX_set_mode(context.get(), SSL_MODE_RELEASE_BUFFERS);
    UseCertificate(*context, settings.certificateFile, settings.keyFile);
    if (!settings.clientCaFile.empty()) {
        const std::string& file = settings.clientCaFile;
        STACK_OF(X509_NAME)* const issuers = SSL_load_client_CA_file(file.c_str());
        if (issuers == nullptr || SSL_CTX_load_verify_file(context.get(), file.c_str()) != 1) {
            sk_X509_NAME_pop_free(issuers, X509_NAME_free);
            Refuse(Named("the clients' CA file", file));
        }
        SSL_CTX_set_client_CA_list(context.get(), issuers);
        SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT,
                           nullptr);
    }
    return context;
}

std::vector<std::string> CertificateWarnings(const Context& context) {
    const X509* const certificate = SSL_CTX_get0_certificate(context.get());
    if (certificate == nullptr) {
        return {};
    }
    const ASN1_TIME* const end = X509_get0_notAfter(certificate);
    const ASN1_TIME* const begin = X509_get0_notBefore(certificate);
    if (SecondsUntil(begin) > 0) {
        return {"the server's certificate is valid from " + TimeText(*begin) + " on only"};
    }
    if (SecondsUntil(end) < 0) {
        return {"the server's certificate has expired on " + TimeText(*end)};
    }
    if (SecondsUntil(end) < kRenewalTime) {
        return {"the server's certificate expires on " + TimeText(*end)};
    }
    return {};
}

}  // namespace CQXBASE::tls
