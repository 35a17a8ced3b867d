#include <qxdb/QXOtpAuth.h>
#include <qxdb/QXProxyInfo.h>
#include <qxdb/QXSvrInfo.h>

#include "messages/session_records.h"
#include "tests/fuzz/object_round_trip.h"

// The first byte picks the byte order and the record.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qxdb_test::FuzzInput input(data, size);
    const std::uint8_t choice = input.Byte();
    const int byteOrder = choice & 1;
    const std::string bytes = input.Rest();
    const int chosen = choice / 2 % 6;
    int next = 0;
    const auto check = [&](auto object) {
        if (next++ == chosen) {
            auto again = object;
            qxdb_test::CheckObject(bytes, byteOrder, object, again);
        }
    };
    check(CQXBASE::QXOneString(L""));
    check(CQXBASE::QXSimpleMsg(L"", 0));
    check(CQXBASE::QXSesInfo());
    check(CQXDB::QXOtpAuth::OtpAuth_Data(0, "", ""));
    check(CQXDB::QXProxyInfo());
    check(CQXDB::QXSvrInfo());
    return 0;
}
