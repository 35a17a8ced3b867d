#include "messages/session_records.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <qxdb/QXOtpAuth.h>

#include "tests/messages/cdr_bytes.h"
#include "tests/support/Hex.h"

namespace CQXBASE {
namespace {

using qxdb_test::FromHex;
using qxdb_test::ToHex;

using OtpData = CQXDB::QXOtpAuth::OtpAuth_Data;

QXSesInfo SessionReply(std::wstring text, std::wstring token, std::wstring info) {
    QXSesInfo record;
    record.code = 12;
    record.text = std::move(text);
    record.token = std::move(token);
    record.info = std::move(info);
    return record;
}

// The examples of docs/wire-format.md.
TEST(SessionRecords, TravelAsTheDocumentShows) {
    QXOneString login(L"u|~|p");
    EXPECT_EQ("05 00 00 00 75 00 7c 00 7e 00 7c 00 70 00", ToHex(Encode(login)));
    QXSimpleMsg status(L"ab", 7);
    EXPECT_EQ("07 00 00 00 02 00 00 00 61 00 62 00", ToHex(Encode(status)));
    QXSesInfo session = SessionReply(L"", L"t0k", L"3|~|5");
    session.code = 0;
    EXPECT_EQ(
        "00 00 00 00 00 00 00 00 03 00 00 00 74 00 30 00 6b 00 00 00 "
        "05 00 00 00 33 00 7c 00 7e 00 7c 00 35 00",
        ToHex(Encode(session)));
    OtpData otp(2, "abc", "d");
    EXPECT_EQ("02 00 00 00 03 00 00 00 61 62 63 00 01 00 00 00 64", ToHex(Encode(otp)));
    QXOneString beyond(L"\U0001F600");
    EXPECT_EQ("02 00 00 00 3d d8 00 de", ToHex(Encode(beyond)));
}

TEST(SessionRecords, SizeEstimates) {
    EXPECT_EQ(4U, QXOneString(L"").size());
    EXPECT_EQ(20U, QXSimpleMsg(L"ab", 7).size());
    EXPECT_EQ(16U, QXSesInfo().size());
    EXPECT_EQ(12U + 2 + 4 + 4 + 12 + 6, SessionReply(L"a", L"", L"abc").size());
    EXPECT_EQ(12U + 3 + 4 + 4, OtpData(0, "abc", "").size());
    EXPECT_EQ(12U + 4, QXOneString(L"\U0001F600").size()) << "in UTF-16 units";
}

TEST(SessionRecords, ComeBackWithinTheirEstimates) {
    for (unsigned mix = 0; mix < 64; ++mix) {
        QXSesInfo sent =
            SessionReply(std::wstring(mix % 4, L'x'), std::wstring(mix / 4 % 4, L'\u4e2d'),
                         std::wstring(mix / 16, L'z'));
        QXSesInfo got = SessionReply(L"old", L"old", L"old");
        ASSERT_EQ(1, Decode(Encode(sent), got));
        EXPECT_EQ(std::tie(sent.code, sent.text, sent.token, sent.info),
                  std::tie(got.code, got.text, got.token, got.info));
        OtpData otp(mix, std::string(mix % 4, '\xff'), std::string(mix / 4, '\0'));
        OtpData gotOtp(99, "old", "old");
        ASSERT_EQ(1, Decode(Encode(otp), gotOtp));
        EXPECT_EQ(std::tie(otp.kind, otp.first, otp.second),
                  std::tie(gotOtp.kind, gotOtp.first, gotOtp.second));
    }
}

TEST(SessionRecords, AreReadFromBigEndianStreams) {
    QXSesInfo session;
    ASSERT_EQ(1, Decode(FromHex("00 00 00 0c  00 00 00 01 4e 2d  00 00  00 00 00 00"
                                "00 00 00 02 d8 3d de 00"),
                        session, kBigEndian));
    EXPECT_EQ(12U, session.code);
    EXPECT_EQ(L"\u4e2d", session.text);
    EXPECT_EQ(L"", session.token);
    EXPECT_EQ(L"\U0001F600", session.info);
    OtpData otp(0, "", "");
    ASSERT_EQ(
        1, Decode(FromHex("00 00 00 02  00 00 00 01 61  00 00 00  00 00 00 00"), otp, kBigEndian));
    EXPECT_EQ(2U, otp.kind);
    EXPECT_EQ("a", otp.first);
}

/// Every record with text in it, to be read into.
struct AllRecords {
    QXOneString one{L"value"};
    QXSimpleMsg simple{L"text", 1};
    QXSesInfo session = SessionReply(L"why", L"token", L"info");
    OtpData otp{1, "first", "second"};
    std::vector<QXIOBase*> each{&one, &simple, &session, &otp};
};

TEST(SessionRecords, EveryTruncationIsReported) {
    AllRecords records;
    for (QXIOBase* record : records.each) {
        const std::string whole = Encode(*record);
        AllRecords scratch;
        QXIOBase* target = scratch.each[static_cast<std::size_t>(
            std::find(records.each.begin(), records.each.end(), record) - records.each.begin())];
        for (std::size_t length = 0; length < whole.size(); ++length) {
            EXPECT_EQ(0, Decode(whole.substr(0, length), *target))
                << ToHex(whole) << " to " << length;
        }
        EXPECT_EQ(1, Decode(whole, *target)) << "readable again after failures";
        EXPECT_EQ(whole, Encode(*target));
    }
}

TEST(SessionRecords, CountsBeyondTheStreamAllocateNothing) {
    for (const char* count : {"ff ff ff ff", "ff ff ff 7f", "00 00 00 80", "03 00 00 00"}) {
        const std::string bytes = FromHex(count) + "abcd";
        QXOneString record(L"");
        EXPECT_EQ(0, Decode(bytes, record)) << count;
        EXPECT_LT(record.value.capacity(), 16U) << count;
    }
}

/// Clears a stream's good bit, which happens to a wide character whose width nobody has set.
void Break(ACE_OutputCDR& out) {
    const std::size_t width = ACE_OutputCDR::wchar_maxbytes();
    ACE_OutputCDR::wchar_maxbytes(0);
    out.write_wchar(L'x');
    ACE_OutputCDR::wchar_maxbytes(width);
}

TEST(SessionRecords, AStreamThatHasFailedStaysFailed) {
    AllRecords records;
    for (QXIOBase* record : records.each) {
        ACE_OutputCDR out;
        Break(out);
        EXPECT_EQ(0, record->toCDR(out));
        const std::string whole = Encode(*record);
        ACE_InputCDR in(whole.data(), whole.size(), kLittleEndian, 1, 2);
        in.skip_bytes(whole.size() + 1);
        EXPECT_EQ(0, record->fromCDR(in));
    }
}

TEST(OtpAuth, StartsAtZeroAndIsAssigned) {
    CQXDB::QXOtpAuth one;
    EXPECT_EQ(0U, one.kind);
    CQXDB::QXOtpAuth other;
    other.kind = 5;
    one = other;
    EXPECT_EQ(5U, one.kind);
}

}  // namespace
}  // namespace CQXBASE
