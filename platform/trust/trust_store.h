// The certificates that the machine's administrator trusts.
#pragma once

#include <openssl/types.h>

namespace CQXBASE::platform::trust {

/// Makes `store` trust them too; false when there are none to be found.
bool AddSystemTrust(X509_STORE& store);

}  // namespace CQXBASE::platform::trust
