#include <windows.h>

#include <openssl/x509.h>

#include "platform/trust/trust_store.h"

namespace CQXBASE::platform::trust {

bool AddSystemTrust(X509_STORE& store) {
    const HCERTSTORE system = CertOpenSystemStoreW(0, L"ROOT");
    if (system == nullptr) {
        return false;
    }
    bool any = false;
    const CERT_CONTEXT* each = nullptr;
    while ((each = CertEnumCertificatesInStore(system, each)) != nullptr) {
        const unsigned char* bytes = each->pbCertEncoded;
        X509* const certificate = d2i_X509(nullptr, &bytes, static_cast<long>(each->cbCertEncoded));
        any = (certificate != nullptr && X509_STORE_add_cert(&store, certificate) == 1) || any;
        X509_free(certificate);
    }
    CertCloseStore(system, 0);
    return any;
}

}  // namespace CQXBASE::platform::trust
