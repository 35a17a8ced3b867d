#include <qxdb/QXDataSource.h>

#include "tests/fuzz/object_round_trip.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return qxdb_test::CheckClass<CQXDB::QXDataSource>(data, size);
}
