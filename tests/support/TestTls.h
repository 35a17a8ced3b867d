// Whether this run of a test program is the one that has TLS beneath everything.
#pragma once

#include <cstdint>

#include "tests/support/Certificates.h"

namespace qxdb_test {

/// By the variable QXDB_TEST_TLS.
bool TestsRunOverTls();

/// Of the whole program: made when first asked for.
struct TestTls {
    static const TestTls& Get();

    Certificates certificates;
    CertificateFiles server;
    CQXDB::QXTlsInfo client;  ///< trusts the server's

  private:
    TestTls();
};

/// A socket as OpenSSL and select take it: every platform's fits.
inline int SocketNumber(int handle) noexcept {
    return handle;
}
inline int SocketNumber(void* handle) noexcept {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
}

/// Has the agent speak TLS, where TestsRunOverTls.
template <class Agent>
void UseTestTls(Agent& agent) {
    if (TestsRunOverTls()) {
        agent.SetTls(TestTls::Get().client);
    }
}

}  // namespace qxdb_test
