#include "messages/session_records.h"

#include <string>

#include <gtest/gtest.h>

#include <qxdb/QXOtpAuth.h>

#include "tests/objects/cdr_support.h"
#include "tests/support/Hex.h"

namespace CQXBASE {
namespace {

using qxdb_test::Decode;
using qxdb_test::Encode;
using qxdb_test::FromHex;
using qxdb_test::ToHex;
using OtpData = CQXDB::QXOtpAuth::OtpAuth_Data;

QXSesInfo Session(const std::wstring& text, const std::wstring& token, const std::wstring& info) {
    QXSesInfo record;
    record.text = text;
    record.token = token;
    record.info = info;
    return record;
}

// The examples of docs/wire-format.md.
TEST(SessionRecords, TravelAsTheDocumentShows) {
    QXOneString login(L"u|~|p");
    EXPECT_EQ("05 00 00 00 75 00 7c 00 7e 00 7c 00 70 00", ToHex(Encode(login)));
    QXOneString beyond(L"\U0001F600");
    EXPECT_EQ("02 00 00 00 3d d8 00 de", ToHex(Encode(beyond)));
    QXSimpleMsg status(L"ab", 7);
    EXPECT_EQ("07 00 00 00 02 00 00 00 61 00 62 00", ToHex(Encode(status)));
    QXSesInfo session = Session(L"", L"t0k", L"3|~|5");
    EXPECT_EQ(
        "00 00 00 00 00 00 00 00 03 00 00 00 74 00 30 00 6b 00 00 00 "
        "05 00 00 00 33 00 7c 00 7e 00 7c 00 35 00",
        ToHex(Encode(session)));
    OtpData otp(2, "abc", "d");
    EXPECT_EQ("02 00 00 00 03 00 00 00 61 62 63 00 01 00 00 00 64", ToHex(Encode(otp)));
}

template <class T>
void ExpectWholeOrRefused(T record, T got) {
    const std::string whole = Encode(record);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(Decode(whole.substr(0, length), got)) << ToHex(whole) << " to " << length;
    }
    EXPECT_TRUE(Decode(whole, got)) << "readable again after failures";
    EXPECT_EQ(whole, Encode(got));
}

TEST(SessionRecords, ComeBackWithinTheirEstimatesAndEveryTruncationIsReported) {
    ExpectWholeOrRefused(QXOneString(L"value"), QXOneString(L"old"));
    ExpectWholeOrRefused(QXSimpleMsg(L"text", 1), QXSimpleMsg(L"old", 99));
    for (unsigned mix = 0; mix < 64; ++mix) {
        QXSesInfo session =
            Session(std::wstring(mix % 4, L'x'), std::wstring(mix / 4 % 4, L'\u4e2d'),
                    std::wstring(mix / 16, L'z'));
        session.code = mix;
        ExpectWholeOrRefused(session, Session(L"old", L"old", L"old"));
        ExpectWholeOrRefused(OtpData(mix, std::string(mix % 4, '\xff'), std::string(mix / 4, '\0')),
                             OtpData(99, "old", "old"));
    }
    QXOneString lie(L"");
    EXPECT_FALSE(Decode(FromHex("ff ff ff 7f 61 00 62 00"), lie));
    EXPECT_LT(lie.value.capacity(), 16U) << "nothing is allocated for a count beyond the stream";
}

TEST(SessionRecords, AStreamThatHasFailedStaysFailed) {
    ACE_OutputCDR out;
    const std::size_t width = ACE_OutputCDR::wchar_maxbytes();
    ACE_OutputCDR::wchar_maxbytes(0);  // no wide character can be written
    out.write_wchar(L'x');
    ACE_OutputCDR::wchar_maxbytes(width);
    EXPECT_EQ(0, QXSimpleMsg(L"text", 1).toCDR(out));
    EXPECT_EQ(0, OtpData(1, "first", "second").toCDR(out));
}

}  // namespace
}  // namespace CQXBASE
