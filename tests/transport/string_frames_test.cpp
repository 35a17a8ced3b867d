#include <ace/OS_NS_sys_socket.h>
#include <gtest/gtest.h>

#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"

namespace CQXBASE {
namespace {

std::string Field(const std::string& digits) {
    return digits + std::string(32 - digits.size(), '\0');
}

class StringFrames : public testing::Test {
  protected:
    int Receive(const std::string& bytes) {
        Write(pair_.far, bytes);
        return io_.Syc_ReceiveFmImServer(text_);
    }

    LogCapture log_;
    StreamPair pair_;
    OpenQXIO io_{pair_.near};
    std::wstring text_ = L"as it was";
};

TEST_F(StringFrames, BytesOnTheWire) {
    EXPECT_EQ(io_.Syc_SendStrToImServer(L"h\u00e9 \U0001F600"), 0);
    EXPECT_EQ(Read(pair_.far, 41), Field("9") + "h\xC3\xA9 \xF0\x9F\x98\x80" + '\0');
    EXPECT_EQ(io_.Syc_SendStrToImServer(L""), 0);
    EXPECT_EQ(Read(pair_.far, 33), Field("1") + '\0');
}

TEST_F(StringFrames, ReceivedText) {
    EXPECT_EQ(Receive(Field("9") + "h\xC3\xA9 \xF0\x9F\x98\x80" + '\0'), 0);
    EXPECT_EQ(text_, L"h\u00e9 \U0001F600");
    EXPECT_EQ(Receive(Field("6 and more") + std::string("ab\0cde", 6)), 0);
    EXPECT_EQ(text_, L"ab");
    EXPECT_EQ(Receive(Field("3") + "abc"), 0);  // without a terminator
    EXPECT_EQ(text_, L"abc");
    for (const char* none : {"0", "", "x9"}) {
        text_ = L"before";
        EXPECT_EQ(Receive(Field(none)), 0);
        EXPECT_EQ(text_, L"");
    }
}

TEST_F(StringFrames, NegativeLengthIsAHugeOne) {
    Write(pair_.far, Field("-5") + std::string(100, 'x'));
    pair_.far.close_writer();
    EXPECT_EQ(io_.Syc_ReceiveFmImServer(text_), -5007);
    EXPECT_EQ(io_.LastErrorText(), L"receive the data from master error, unknown error.(-1).");
    EXPECT_LE(io_.rxBlock_->capacity(), 1048576U + 32U);
    EXPECT_EQ(text_, L"as it was");
}

TEST_F(StringFrames, CutLengthField) {
    Write(pair_.far, "9");
    pair_.far.close_writer();
    EXPECT_EQ(io_.Syc_ReceiveFmImServer(text_), -5007);
    EXPECT_EQ(io_.LastErrorText(), L"receive message error, unknown error.(-1).");
    EXPECT_NE(io_.peer_, nullptr);
}

TEST_F(StringFrames, WithoutAConnection) {
    OpenQXIO io(ClosedPort());
    EXPECT_EQ(io.Syc_ReceiveFmImServer(text_), 0);
    EXPECT_EQ(text_, L"as it was");
    EXPECT_EQ(io.Syc_SendStrToImServer(L"x"), -5006);
    EXPECT_EQ(io.LastErrorCode(), 10061);
}

TEST_F(StringFrames, FailedWriteIsToldByTheLastErrorAlone) {
    const std::wstring big(4 * 1024 * 1024, L'x');
    std::thread far([this] {
        Read(pair_.far, 32);
        Reset(pair_.far);
    });
    EXPECT_EQ(io_.Syc_SendStrToImServer(big), 0);
    far.join();
    EXPECT_EQ(io_.LastErrorCode(), 10054);
    EXPECT_EQ(io_.LastErrorText().substr(0, 20), L"send message error, ");
}

TEST_F(StringFrames, OwnedConnectionIsDroppedAfterACutLengthField) {
    LoopbackPeer peer({[](ACE_SOCK_Stream& stream) { Read(stream, 33); }});
    OpenQXIO io(peer.Port());
    ASSERT_EQ(io.Syc_SendStrToImServer(L""), 0);
    EXPECT_EQ(io.Syc_ReceiveFmImServer(text_), -5007);
    EXPECT_EQ(io.peer_, nullptr);
}

}  // namespace
}  // namespace CQXBASE
