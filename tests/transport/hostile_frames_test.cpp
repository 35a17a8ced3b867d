// Headers that claim what isn't so.
#include <ace/OS_NS_sys_socket.h>
#include <gtest/gtest.h>

#include "tests/support/Hex.h"
#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"
#include "transport/frame_cipher.h"

namespace CQXBASE {
namespace {

using qxdb_test::FromHex;

struct Outcome {
    int result;
    int code;
    std::size_t memory;  ///< of the receive block
};

/// What a blocking receive makes of bytes after which the peer closes.
Outcome Receive(const std::string& bytes) {
    const LogCapture log;
    StreamPair pair;
    OpenQXIO io(pair.near);
    Write(pair.far, bytes);
    pair.far.close();
    Received got;
    const int result = got.SyncFrom(io);
    return {result, io.LastErrorCode(), io.rxBlock_->capacity()};
}

TEST(HostileFrame, ClaimedLengthsCostNoMemory) {
    for (const char* header :
         {"01 000000 01000000 ffffffff 00000000", "01 000000 01000000 ffffffff ffffffff",
          "01 000000 01000000 d8ffffff 00000000", "00 000000 00000001 ffffffe8 00000001",
          "07 000000 01000000 00000080 00000000"}) {
        const Outcome outcome = Receive(FromHex(header) + std::string(1000, 'x'));
        EXPECT_EQ(outcome.result, -5005) << header;
        EXPECT_EQ(outcome.code, -1) << header;
        EXPECT_LE(outcome.memory, 1048576U + 16U) << header;
    }
}

TEST(HostileFrame, MemoryFollowsWhatArrives) {
    const std::string header = FromHex("01 000000 01000000 ffffffff 00000000");
    const LogCapture log;
    StreamPair pair;
    OpenQXIO io(pair.near);
    std::thread writer([&] {
        Write(pair.far, header + std::string(5 * 1048576, 'x'));
        pair.far.close_writer();
    });
    Received got;
    EXPECT_EQ(got.SyncFrom(io), -5005);
    writer.join();
    EXPECT_GE(io.rxBlock_->capacity(), 5U * 1048576U);
    EXPECT_LE(io.rxBlock_->capacity(), 11U * 1048576U);
}

TEST(HostileFrame, BodiesThatCantBeDeciphered) {
    const std::string good = FrameCipher().Encipher("twelve bytes");
    for (const std::string& frame :
         {Frame(1, good, 11), Frame(1, good, 4000000000), Frame(1, "", 5), Frame(1, good + "x", 12),
          Frame(1, std::string(32, 'a'), 20)}) {
        const Outcome outcome = Receive(frame);
        EXPECT_EQ(outcome.result, -1);
        EXPECT_EQ(outcome.code, 1);
    }
}

TEST(HostileFrame, AnyFlagIsAByteOrder) {
    EXPECT_EQ(Receive(FromHex("00 ffffff 00000001 00000002 00000000 6162")).result, 0);
    EXPECT_EQ(Receive(FromHex("07 ffffff 01000000 02000000 00000000 6162")).result, 0);
}

TEST(HostileFrame, NothingAtAll) {
    EXPECT_EQ(Receive("").result, -5005);
    EXPECT_EQ(Receive(std::string(16, '\0')).result, 0);  // code 0, no body
}

}  // namespace
}  // namespace CQXBASE
