#include <thread>

#include "tests/support/FreePort.h"
#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"

namespace CQXBASE {
namespace {

const std::string kGreeting = "h\xC3\xA9 \xF0\x9F\x98\x80";  // 8 bytes

std::string Field(const std::string& digits) {
    return digits + std::string(32 - digits.size(), '\0');
}

class StringFrames : public TransportTest {
  protected:
    int Receive(const std::string& bytes) {
        Write(pair_.farEnd, bytes);
        text_ = L"as it was";
        return io_.Syc_ReceiveFmImServer(text_);
    }

    StreamPair pair_;
    OpenQXIO io_{pair_.nearEnd};
    std::wstring text_;
};

TEST_F(StringFrames, BytesOnTheWire) {
    EXPECT_EQ(io_.Syc_SendStrToImServer(L"h\u00e9 \U0001F600"), 0);
    EXPECT_EQ(Read(pair_.farEnd, 41), Field("9") + kGreeting + '\0');
    EXPECT_EQ(io_.Syc_SendStrToImServer(L""), 0);
    EXPECT_EQ(Read(pair_.farEnd, 33), Field("1") + '\0');
}

TEST_F(StringFrames, ReceivedTexts) {
    EXPECT_EQ(Receive(Field("9") + kGreeting + '\0'), 0);
    EXPECT_EQ(text_, L"h\u00e9 \U0001F600");
    EXPECT_EQ(Receive(Field("6 and more") + std::string("ab\0cde", 6)), 0);
    EXPECT_EQ(text_, L"ab");
    EXPECT_EQ(Receive(Field("3") + "abc"), 0);  // without a terminator
    EXPECT_EQ(text_, L"abc");
    for (const char* none : {"0", "", "x9"}) {
        EXPECT_EQ(Receive(Field(none)), 0);
        EXPECT_EQ(text_, L"");
    }
}

TEST_F(StringFrames, CutFrames) {
    Write(pair_.farEnd, Field("-5") + std::string(100, 'x'));  // a negative length is a huge one
    pair_.farEnd.close_writer();
    EXPECT_EQ(Receive(""), -5007);
    EXPECT_EQ(io_.LastErrorText(), L"receive the data from master error, unknown error.(-1).");
    EXPECT_LE(io_.rxBlock_->capacity(), 1048576U + 32U);
    EXPECT_EQ(Receive(""), -5007);
    EXPECT_EQ(io_.LastErrorText(), L"receive message error, unknown error.(-1).");
    EXPECT_EQ(text_, L"as it was");
    EXPECT_NE(io_.peer_, nullptr);
}

TEST_F(StringFrames, OfAConnectionOfItsOwn) {
    OpenQXIO refused(qxdb_test::FreePort());
    text_ = L"as it was";
    EXPECT_EQ(refused.Syc_ReceiveFmImServer(text_), 0);
    EXPECT_EQ(text_, L"as it was");
    EXPECT_EQ(refused.Syc_SendStrToImServer(L"x"), -5006);
    EXPECT_EQ(refused.LastErrorCode(), 10061);
    LoopbackPeer peer({[](ACE_SOCK_Stream& stream) { Read(stream, 33); }});
    OpenQXIO io(peer.Port());
    ASSERT_EQ(io.Syc_SendStrToImServer(L""), 0);
    EXPECT_EQ(io.Syc_ReceiveFmImServer(text_), -5007);
    EXPECT_EQ(io.peer_, nullptr);
}

TEST_F(StringFrames, FailedWriteIsToldByTheLastErrorAlone) {
    std::thread peer([this] {
        Read(pair_.farEnd, 32);
        Reset(pair_.farEnd);
    });
    EXPECT_EQ(io_.Syc_SendStrToImServer(std::wstring(32 << 20, L'x')), 0);
    peer.join();
    EXPECT_EQ(io_.LastErrorCode(), 10054);
    EXPECT_EQ(io_.LastErrorText().substr(0, 20), L"send message error, ");
}

TEST_F(StringFrames, PeerThatTakesNothingEndsAWrite) {
    EXPECT_EQ(io_.Syc_SendStrToImServer(std::wstring(16 << 20, L'x')), 0);  // after 5 seconds
    EXPECT_EQ(io_.LastErrorCode(), 10060);
    EXPECT_EQ(io_.LastErrorText().substr(0, 20), L"send message error, ");
}

}  // namespace
}  // namespace CQXBASE
