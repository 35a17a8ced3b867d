// What has gone wrong with TLS, told so that a person knows what to do.
#include "tls/client_stream.h"

// Behind <windows.h>, whose macros have names of OpenSSL's types until OpenSSL takes them away.
#include <openssl/err.h>

#include "tls/names.h"
#include "util/text.h"

namespace CQXBASE::tls {
namespace {

Failure Told(int code, const std::string& text) {
    return {code, Utf8ToWide(text)};
}

/// The number of the alert that the other side has sent; -1 for an error of this side's.
int AlertOf(unsigned long error) {
    constexpr int kLastAlert = 255;
    const int reason = ERR_GET_LIB(error) == ERR_LIB_SSL ? ERR_GET_REASON(error) : 0;
    const int alert = reason - SSL_AD_REASON_OFFSET;
    return alert >= 0 && alert <= kLastAlert ? alert : -1;
}

bool IsAboutVersions(unsigned long error, int alert) {
    const int reason = ERR_GET_REASON(error);
    return alert == SSL_AD_PROTOCOL_VERSION || alert == SSL_AD_INSUFFICIENT_SECURITY ||
           alert == SSL_AD_HANDSHAKE_FAILURE || reason == SSL_R_UNSUPPORTED_PROTOCOL ||
           reason == SSL_R_NO_PROTOCOLS_AVAILABLE || reason == SSL_R_VERSION_TOO_LOW ||
           reason == SSL_R_UNKNOWN_CIPHER_RETURNED || reason == SSL_R_WRONG_CIPHER_RETURNED;
}

bool RefusesCertificate(int alert) {
    switch (alert) {
        case SSL_AD_BAD_CERTIFICATE:
        case SSL_AD_UNSUPPORTED_CERTIFICATE:
        case SSL_AD_CERTIFICATE_REVOKED:
        case SSL_AD_CERTIFICATE_EXPIRED:
        case SSL_AD_CERTIFICATE_UNKNOWN:
        case SSL_AD_UNKNOWN_CA:
        case SSL_AD_ACCESS_DENIED:
            return true;
        default:
            return false;
    }
}

}  // namespace

/// Called for each certificate of the server's chain that is not good.
int ClientStream::NoteCertificate(int good, X509_STORE_CTX* store) {
    const auto* const ssl =
        static_cast<SSL*>(X509_STORE_CTX_get_ex_data(store, SSL_get_ex_data_X509_STORE_CTX_idx()));
    const X509* const certificate = X509_STORE_CTX_get_current_cert(store);
    if (good == 1 || ssl == nullptr || certificate == nullptr) {
        return good;
    }
    try {
        auto& self = *static_cast<ClientStream*>(SSL_get_ex_data(ssl, 0));
        const std::string subject = NameText(*X509_get_subject_name(certificate));
        switch (X509_STORE_CTX_get_error(store)) {
            case X509_V_ERR_CERT_HAS_EXPIRED:
                self.blamed_ = "the certificate '" + subject + "' has expired on " +
                               TimeText(*X509_get0_notAfter(certificate));
                break;
            case X509_V_ERR_CERT_NOT_YET_VALID:
                self.blamed_ = "the certificate '" + subject + "' is not valid before " +
                               TimeText(*X509_get0_notBefore(certificate));
                break;
            case X509_V_ERR_HOSTNAME_MISMATCH:
            case X509_V_ERR_IP_ADDRESS_MISMATCH:
                self.blamed_ = HostsText(*certificate);
                break;
            default:
                self.blamed_ = "'" + subject + "', issued by '" +
                               NameText(*X509_get_issuer_name(certificate)) + "'";
        }
    } catch (const std::bad_alloc&) {
        return 0;
    }
    return 0;
}

/// Called when the server asks for a certificate and there is none.
int ClientStream::NoteQuestion(SSL* ssl, X509** /*certificate*/, EVP_PKEY** /*key*/) {
    static_cast<ClientStream*>(SSL_get_ex_data(ssl, 0))->asked_ = true;
    return 0;
}

Failure ClientStream::DescribeCertificate(long verdict) const {
    switch (verdict) {
        case X509_V_ERR_CERT_HAS_EXPIRED:
            return Told(CQXDB::QXTLS_EXPIRED,
                        blamed_ + ": it has to be renewed, unless this machine's clock is wrong");
        case X509_V_ERR_CERT_NOT_YET_VALID:
            return Told(CQXDB::QXTLS_NOT_YET_VALID,
                        blamed_ + ": the clock of this machine, or of its issuer's, is wrong");
        case X509_V_ERR_HOSTNAME_MISMATCH:
        case X509_V_ERR_IP_ADDRESS_MISMATCH:
            return Told(CQXDB::QXTLS_WRONG_NAME,
                        "the server's certificate is not for '" + host_ + "' but for " + blamed_ +
                            ": connect by such a name, or give the one to verify");
        default:
            return Told(CQXDB::QXTLS_UNTRUSTED,
                        "the server's certificate is not trusted (" +
                            std::string(X509_verify_cert_error_string(verdict)) + "): " + blamed_ +
                            "; give its issuer's certificate as the CA file, if this is the "
                            "right server");
    }
}

/// `error` is 0 when the server has closed without a word.
Failure ClientStream::Describe(unsigned long error) const {
    const std::string reasons = TakeErrors();
    const long verdict = SSL_get_verify_result(ssl_.get());
    const int alert = AlertOf(error);
    if (ERR_GET_REASON(error) == SSL_R_CERTIFICATE_VERIFY_FAILED && verdict != X509_V_OK) {
        return DescribeCertificate(verdict);
    }
    if (alert == SSL_AD_CERTIFICATE_REQUIRED ||
        (asked_ && (alert == SSL_AD_HANDSHAKE_FAILURE || RefusesCertificate(alert)))) {
        return Told(CQXDB::QXTLS_CERTIFICATE_WANTED,
                    "the server asks for a certificate of the client: give one, with its key");
    }
    if (RefusesCertificate(alert)) {
        return Told(CQXDB::QXTLS_CERTIFICATE_REFUSED,
                    "the server doesn't accept the client's certificate (" + reasons + ")");
    }
    if (error != 0 && IsAboutVersions(error, alert)) {
        return Told(CQXDB::QXTLS_NO_COMMON_VERSION,
                    "no version or cipher of TLS that both sides allow (" + reasons +
                        "): allow an older version, or renew the other side");
    }
    const bool unanswered = SSL_get_state(ssl_.get()) == TLS_ST_CW_CLNT_HELLO;
    if (unanswered && alert == -1) {
        return Told(CQXDB::QXTLS_NOT_SPOKEN,
                    "the other side speaks no TLS: check host and port, or switch TLS on there");
    }
    if (error == 0) {
        return Told(CQXDB::QXTLS_FAILED, "the other side closed the connection in the handshake");
    }
    return Told(CQXDB::QXTLS_FAILED, "TLS failed: " + reasons);
}

}  // namespace CQXBASE::tls
