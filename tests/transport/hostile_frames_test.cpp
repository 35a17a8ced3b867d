// Headers that claim what isn't so, and frames that were tampered with.
#include <thread>

#include "tests/support/Hex.h"
#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"
#include "transport/frame_cipher.h"

namespace CQXBASE {
namespace {

using qxdb_test::FromHex;

/// Both receives, of bytes after which the peer closes.
class HostileFrame : public TransportTest, public testing::WithParamInterface<bool> {
  protected:
    int Receive(const std::string& bytes) {
        pair_ = std::make_unique<StreamPair>();
        io_ = std::make_unique<OpenQXIO>(pair_->nearEnd);
        std::thread writer([&] {
            Write(pair_->farEnd, bytes);
            pair_->farEnd.close_writer();
        });
        const int result = GetParam() ? got_.AsyncFrom(*io_) : got_.SyncFrom(*io_);
        writer.join();
        return result;
    }
    int Failure() const { return GetParam() ? -1 : -5005; }

    std::unique_ptr<StreamPair> pair_;
    std::unique_ptr<OpenQXIO> io_;
};

TEST_P(HostileFrame, ClaimedLengthsCostNoMemory) {
    for (const char* header :
         {"01 000000 01000000 ffffffff 00000000", "01 000000 01000000 ffffffff ffffffff",
          "01 000000 01000000 d8ffffff 00000000", "00 000000 00000001 ffffffe8 00000001"}) {
        EXPECT_EQ(Receive(FromHex(header) + std::string(1000, 'x')), Failure()) << header;
        EXPECT_LE(io_->rxBlock_->capacity(), 1048576U + 16U) << header;
    }
    EXPECT_EQ(Receive(FromHex("07 000000 01000000 ffffffff 00000000") + Body(5 << 20)), Failure());
    EXPECT_LE(io_->rxBlock_->capacity(), 11U << 20);
}

TEST_P(HostileFrame, UndecipherableBodies) {
    const std::string good = FrameCipher().Encipher("twelve bytes");
    for (const std::string& frame :
         {Frame(1, good, 11), Frame(1, good, 13), Frame(1, good, 4000000000),
          Frame(1, good + "x", 12), Frame(1, std::string(32, 'a'), 20)}) {
        EXPECT_EQ(Receive(frame), -1);
        EXPECT_EQ(io_->LastErrorCode(), 1);
        EXPECT_EQ(io_->LastErrorText().substr(0, 5), L"解密错误：");
    }
    const std::string line = "): pipe_before_recv() from 127.0.0.9 error. (errno = ";
    EXPECT_NE(log_.progress.back().find(line), std::string::npos);
    EXPECT_EQ(Receive(Frame(1, good, 12)), 0);
    EXPECT_EQ(got_.Body(), "twelve bytes");
}

TEST_P(HostileFrame, EveryFlagIsAByteOrder) {
    for (const char* frame : {"00 ffffff 01020322 00000002 00000000 6162",
                              "07 ffffff 22030201 02000000 00000000 6162"}) {
        EXPECT_EQ(Receive(FromHex(frame)), 0);
        EXPECT_EQ(got_.typeCode, 0x01020322U);
        EXPECT_EQ(got_.Body(), "ab");
    }
    EXPECT_EQ(Receive(FromHex("00 000000 00000001 00000010 0000000c"
                              "d04feb6a1cdafc989be86b63e6075c95")),
              0);
    EXPECT_EQ(got_.Body(), FromHex("070000000200000061006200"));
}

TEST_P(HostileFrame, FramesCutAtAnyByteAndEmptyOnes) {
    const std::string frame = Frame(1, "twelve bytes");
    for (const std::size_t sent : {0U, 1U, 15U, 16U, 17U, 27U}) {
        EXPECT_EQ(Receive(frame.substr(0, sent)), Failure()) << sent;
        // The asynchronous side tells nothing of a peer that closes.
        EXPECT_EQ(io_->LastErrorCode(), GetParam() ? 0 : -1) << sent;
    }
    EXPECT_EQ(Receive(std::string(16, '\0')), GetParam() ? -1 : 0);
}

INSTANTIATE_TEST_SUITE_P(Sides, HostileFrame, testing::Bool(),
                         [](const auto& side) { return side.param ? "Asynchronous" : "Blocking"; });

}  // namespace
}  // namespace CQXBASE
