#include "server/frame_reader.h"

#include <gtest/gtest.h>

#include "server/server_options.h"
#include "tests/server/raw_client.h"

namespace CQXSERVER {
namespace {

using State = FrameReader::State;
using qxdb_test::MakeFrame;

constexpr std::size_t kMaxBody = 1000;

std::string HeaderClaiming(std::uint32_t bodyLength, bool littleEndian = true) {
    CQXBASE::FrameHeader header;
    header.typeCode = 6;
    header.bodyLength = bodyLength;
    header.littleEndian = littleEndian;
    const CQXBASE::FrameHeaderBytes bytes = CQXBASE::EncodeFrameHeader(header);
    return {bytes.data(), bytes.size()};
}

TEST(FrameReader, CutsAStreamIntoFramesWhereverItIsTorn) {
    const std::string first = MakeFrame(6, "hello", false);
    const std::string second = MakeFrame(7, "", false);
    const std::string stream = first + second;
    for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
        ByteBudget budget(kMiB);
        FrameReader reader(kMaxBody, budget);
        std::vector<std::string> frames;
        for (std::string piece : {stream.substr(0, cut), stream.substr(cut)}) {
            while (!piece.empty()) {
                piece.erase(0, reader.Feed(piece.data(), piece.size()));
                if (reader.GetState() == State::Complete) {
                    frames.push_back(reader.Take().bytes);
                }
            }
        }
        EXPECT_EQ(frames, (std::vector<std::string>{first, second})) << "torn at " << cut;
        EXPECT_FALSE(reader.Begun());
    }
}

TEST(FrameReader, TakesNoMoreThanOneFrame) {
    ByteBudget budget(kMiB);
    FrameReader reader(kMaxBody, budget);
    const std::string frame = MakeFrame(6, "hello", false);
    const std::string stream = frame + "next";
    EXPECT_EQ(reader.Feed(stream.data(), stream.size()), frame.size());
    EXPECT_EQ(reader.GetState(), State::Complete);
    EXPECT_EQ(reader.Feed("next", 4), 0U);
}

TEST(FrameReader, RefusesABodyOverTheLimitByItsHeader) {
    for (const bool littleEndian : {true, false}) {
        ByteBudget budget(kMiB);
        FrameReader reader(kMaxBody, budget);
        const std::string allowed = HeaderClaiming(kMaxBody, littleEndian);
        reader.Feed(allowed.data(), allowed.size());
        EXPECT_EQ(reader.GetState(), State::Partial);

        FrameReader strict(kMaxBody, budget);
        const std::string tooMuch = HeaderClaiming(kMaxBody + 1, littleEndian) + "body";
        EXPECT_EQ(strict.Feed(tooMuch.data(), tooMuch.size()), CQXBASE::kFrameHeaderSize);
        EXPECT_EQ(strict.GetState(), State::TooLarge);
    }
}

TEST(FrameReader, AFlagThatIsNoBooleanIsNoFrame) {
    for (const char flag : {'\2', '\7', 'G', '\xff'}) {
        ByteBudget budget(kMiB);
        FrameReader reader(kMaxBody, budget);
        std::string header = HeaderClaiming(0);
        header[0] = flag;
        reader.Feed(header.data(), header.size());
        EXPECT_EQ(reader.GetState(), State::Broken);
    }
}

TEST(FrameReader, BytesThatArriveTakeFromTheBudgetAndAClaimDoesNot) {
    ByteBudget budget(100 * kKiB);
    FrameReader reader(kMiB, budget);
    const std::string header = HeaderClaiming(kMiB);
    reader.Feed(header.data(), header.size());
    ASSERT_TRUE(budget.Take(100 * kKiB)) << "a claim was believed";
    budget.Give(100 * kKiB);
    const std::string piece(10 * kKiB, 'x');
    std::size_t arrived = 0;
    while (reader.GetState() == State::Partial && arrived < kMiB) {
        arrived += reader.Feed(piece.data(), piece.size());
    }
    EXPECT_EQ(reader.GetState(), State::OutOfBuffers);
    EXPECT_LE(arrived, 100 * kKiB);
}

TEST(FrameReader, SmallFramesNeedNoBudgetAndLargeOnesGiveTheirsBack) {
    ByteBudget budget(100 * kKiB);
    const std::string large = MakeFrame(6, std::string(80 * kKiB, 'x'), false);
    const std::string small = MakeFrame(6, std::string(10 * kKiB, 'x'), false);
    for (int i = 0; i < 10; ++i) {
        FrameReader reader(kMiB, budget);
        FrameReader other(kMiB, budget);
        reader.Feed(large.data(), large.size());
        ASSERT_EQ(reader.GetState(), State::Complete) << i;
        const ReceivedFrame taken = reader.Take();
        other.Feed(small.data(), small.size());
        EXPECT_EQ(other.GetState(), State::Complete);
    }
    EXPECT_TRUE(budget.Take(100 * kKiB));
}

}  // namespace
}  // namespace CQXSERVER
