#include <openssl/x509.h>

#include "platform/trust/trust_store.h"

namespace CQXBASE::platform::trust {

// Named here instead of asking for OpenSSL's "default paths", which environment variables can turn
// elsewhere. The folder's certificates are found by their hash, when they are wanted.
bool AddSystemTrust(X509_STORE& store) {
    const bool file = X509_STORE_load_file(&store, X509_get_default_cert_file()) == 1;
    const bool folder = X509_STORE_load_path(&store, X509_get_default_cert_dir()) == 1;
    return file || folder;
}

}  // namespace CQXBASE::platform::trust
