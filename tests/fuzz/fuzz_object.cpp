// Built once for each class of objects: QXDB_FUZZ_CLASS of QXDB_FUZZ_HEADER.
#include QXDB_FUZZ_HEADER

#include "tests/fuzz/object_round_trip.h"

// The first byte picks the byte order.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qxdb_test::FuzzInput input(data, size);
    const int byteOrder = input.Byte() & 1;
    CQXDB::QXDB_FUZZ_CLASS object;
    CQXDB::QXDB_FUZZ_CLASS again;
    qxdb_test::CheckObject(input.Rest(), byteOrder, object, again);
    return 0;
}
