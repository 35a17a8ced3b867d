#include <qxdb/QXOtpAuth.h>
#include <qxdb/QXProxyInfo.h>
#include <qxdb/QXSvrInfo.h>

#include "messages/session_records.h"
#include "tests/fuzz/object_round_trip.h"

namespace {

template <class T>
void Check(const std::string& bytes, int byteOrder, const T& empty) {
    T object = empty;
    T again = empty;
    qxdb_test::CheckObject(bytes, byteOrder, object, again);
}

}  // namespace

// The first byte picks the byte order and the record.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qxdb_test::FuzzInput input(data, size);
    const std::uint8_t choice = input.Byte();
    const int byteOrder = choice & 1;
    const std::string bytes = input.Rest();
    switch (choice / 2 % 6) {
        case 0:
            Check(bytes, byteOrder, CQXBASE::QXOneString(L""));
            break;
        case 1:
            Check(bytes, byteOrder, CQXBASE::QXSimpleMsg(L"", 0));
            break;
        case 2:
            Check(bytes, byteOrder, CQXBASE::QXSesInfo());
            break;
        case 3:
            Check(bytes, byteOrder, CQXDB::QXOtpAuth::OtpAuth_Data(0, "", ""));
            break;
        case 4:
            Check(bytes, byteOrder, CQXDB::QXProxyInfo());
            break;
        default:
            Check(bytes, byteOrder, CQXDB::QXSvrInfo());
            break;
    }
    return 0;
}
