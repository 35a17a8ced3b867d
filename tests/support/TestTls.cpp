#include "tests/support/TestTls.h"

#include <cstdlib>

namespace qxdb_test {

bool TestsRunOverTls() {
    static const bool over = std::getenv("QXDB_TEST_TLS") != nullptr;
    return over;
}

TestTls::TestTls() : server(certificates.Server()), client(certificates.Info()) {}

const TestTls& TestTls::Get() {
    static const TestTls all;
    return all;
}

}  // namespace qxdb_test
