#include "server/network/frame_reader.h"

#include <gtest/gtest.h>

#include "server/server_options.h"
#include "tests/server/raw_client.h"

namespace CQXSERVER {
namespace {

using State = network::FrameReader::State;
using qxdb_test::HeaderClaiming;
using qxdb_test::MakeFrame;

TEST(FrameReader, CutsAStreamIntoFramesWhereverItIsTorn) {
    const std::string first = MakeFrame(6, "hello", false);
    const std::string second = MakeFrame(7, "", false);
    const std::string stream = first + second;
    for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
        ByteBudget budget(kMiB);
        network::FrameReader reader(1000, budget);
        std::vector<std::string> frames;
        for (std::string piece : {stream.substr(0, cut), stream.substr(cut)}) {
            while (!piece.empty()) {
                piece.erase(0, reader.Feed(piece.data(), piece.size()));
                if (reader.GetState() == State::Complete) {
                    EXPECT_EQ(reader.Feed("next", 4), 0U);
                    frames.push_back(reader.Take().bytes);
                }
            }
        }
        EXPECT_EQ(frames, (std::vector<std::string>{first, second})) << "torn at " << cut;
        EXPECT_FALSE(reader.Begun());
    }
}

TEST(FrameReader, JudgesAFrameByItsHeader) {
    ByteBudget budget(kMiB);
    const auto judge = [&](std::string header) {
        network::FrameReader reader(1000, budget);
        header += "body";
        reader.Feed(header.data(), header.size());
        return reader.GetState();
    };
    for (const bool littleEndian : {true, false}) {
        EXPECT_EQ(judge(HeaderClaiming(1000, littleEndian)), State::Partial);
        EXPECT_EQ(judge(HeaderClaiming(1001, littleEndian)), State::TooLarge);
    }
    for (const char flag : {'\2', '\7', 'G', '\xff'}) {
        EXPECT_EQ(judge(flag + HeaderClaiming(0).substr(1)), State::Broken);
    }
}

TEST(FrameReader, BytesThatArriveTakeFromTheBudgetAndAClaimDoesNot) {
    ByteBudget budget(100 * kKiB);
    const std::string header = HeaderClaiming(kMiB);
    const std::string piece(10 * kKiB, 'x');
    for (int i = 0; i < 3; ++i) {
        network::FrameReader reader(kMiB, budget);
        reader.Feed(header.data(), header.size());
        ASSERT_TRUE(budget.Take(100 * kKiB)) << "a claim was believed, or bytes not given back";
        budget.Give(100 * kKiB);
        std::size_t arrived = 0;
        while (reader.GetState() == State::Partial && arrived < kMiB) {
            arrived += reader.Feed(piece.data(), piece.size());
        }
        EXPECT_EQ(reader.GetState(), State::OutOfBuffers);
        EXPECT_LE(arrived, 100 * kKiB);
    }
}

}  // namespace
}  // namespace CQXSERVER
