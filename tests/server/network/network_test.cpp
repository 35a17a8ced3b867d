// Frames on their way in, and a large reply's body between the threads that make, encipher and send
// it.
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "server/network/frame_reader.h"
#include "server/network/reply_body.h"
#include "server/server_options.h"
#include "tests/server/raw_client.h"
#include "transport/frame.h"

namespace CQXSERVER {
namespace {

using CQXBASE::FrameCipher;
using State = network::FrameReader::State;
using qxdb_test::HeaderClaiming;
using qxdb_test::MakeFrame;

/// What the sender gets, in pieces of any length, waiting as a connection does.
std::string Sent(network::ReplyBody& body, std::size_t most) {
    std::mutex mutex;
    std::condition_variable woken;
    bool more = false;
    std::string sent;
    while (sent.size() < body.Size()) {
        const std::string_view ready = body.Ready([&] {
            const std::lock_guard<std::mutex> lock(mutex);
            more = true;
            woken.notify_one();
        });
        if (ready.empty()) {
            std::unique_lock<std::mutex> lock(mutex);
            woken.wait(lock, [&] { return more; });
            more = false;
        }
        const std::string_view part = ready.substr(0, most);
        sent += part;
        body.Skip(part.size());
    }
    return sent;
}

std::string Piece(std::size_t size, std::size_t seed) {
    std::string piece(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        piece[i] = static_cast<char>((i + seed) * 131 >> 3);
    }
    return piece;
}

TEST(ReplyBody, ArrivesWholeWhateverThePieces) {
    const FrameCipher cipher;
    const std::vector<std::size_t> sizes = {100, 0, 1, 700001, 15, 16, 17, 300000};
    for (const bool encipher : {false, true}) {
        for (const std::size_t most : {std::size_t{1} << 30, std::size_t{33333}}) {
            network::ReplyBody body(encipher ? &cipher : nullptr);
            std::string whole;
            for (const std::size_t size : sizes) {
                const std::string piece = Piece(size, whole.size());
                whole += piece;
                body.Add(piece);
            }
            body.Close();
            EXPECT_EQ(body.PlainSize(), whole.size());
            EXPECT_EQ(body.Enciphered(), encipher);
            const std::string sent = Sent(body, most);
            EXPECT_EQ(sent.size(), body.Size());
            EXPECT_TRUE((encipher ? cipher.Decipher(sent) : sent) == whole);
        }
    }
}

TEST(ReplyBody, OneThatGrowsTooLongStaysPlain) {
    const FrameCipher cipher;
    const std::string piece = Piece(CQXBASE::kMaxEncipheredBody / 4, 0);
    for (const std::size_t over : {0U, 1U}) {
        network::ReplyBody body(&cipher);
        std::string whole;
        for (int i = 0; i < 4; ++i) {
            body.Add(piece);
            whole += piece;
        }
        body.Add(std::string(over, 'x'));
        whole.append(over, 'x');
        body.Close();
        EXPECT_EQ(body.Enciphered(), over == 0);
        const std::string sent = Sent(body, std::size_t{1} << 20);
        EXPECT_TRUE((over == 0 ? cipher.Decipher(sent) : sent) == whole);
    }
}

TEST(ReplyBody, CanBeGivenUpAtAnyTime) {
    const FrameCipher cipher;
    for (const bool close : {false, true}) {
        network::ReplyBody body(&cipher);
        for (int i = 0; i < 8; ++i) {
            body.Add(Piece(std::size_t{1} << 20, 0));
        }
        if (close) {
            body.Close();
            body.Ready([] {});
        }
        EXPECT_EQ(body.PlainSize(), std::size_t{8} << 20);
    }
}

TEST(FrameReader, CutsAStreamIntoFramesWhereverItIsTorn) {
    const std::string first = MakeFrame(6, "hello", false);
    const std::string second = MakeFrame(7, "", false);
    const std::string stream = first + second;
    for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
        ByteBudget budget(kMiB);
        network::FrameReader reader(1000, budget, budget);
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
        network::FrameReader reader(1000, budget, budget);
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
    ByteBudget strangers(kMiB);
    const std::string header = HeaderClaiming(kMiB);
    const std::string piece(10 * kKiB, 'x');
    for (int i = 0; i < 3; ++i) {
        network::FrameReader reader(kMiB, budget, strangers);
        reader.Feed(header.data(), header.size());
        ASSERT_TRUE(budget.Take(100 * kKiB)) << "a claim was believed, or bytes not given back";
        budget.Give(100 * kKiB);
        std::size_t arrived = 0;
        while (reader.GetState() == State::Partial && arrived < kMiB) {
            arrived += reader.Feed(piece.data(), piece.size());
            if (reader.GetState() == State::Unadmitted) {
                reader.Admit();
            }
        }
        EXPECT_EQ(reader.GetState(), State::OutOfBuffers);
        EXPECT_LE(arrived, 100 * kKiB);
    }
}

TEST(FrameReader, AStrangersLargeFrameWaitsToBeAdmittedAndCostsUsersNothing) {
    constexpr std::size_t kSmall = network::FrameReader::kSmallBody;
    ByteBudget budget(3 * kSmall);
    ByteBudget strangers(2 * kSmall);
    network::FrameReader reader(kMiB, budget, strangers);
    const std::string frame = HeaderClaiming(2 * kSmall) + std::string(2 * kSmall, 'x');
    EXPECT_EQ(reader.Feed(frame.data(), frame.size()), CQXBASE::kFrameHeaderSize + kSmall);
    EXPECT_EQ(reader.GetState(), State::Unadmitted);
    EXPECT_EQ(reader.Body(), std::string(kSmall, 'x'));
    EXPECT_FALSE(strangers.Take(kSmall)) << "a stranger's bytes were not counted";
    ASSERT_TRUE(budget.Take(3 * kSmall)) << "they were taken out of the users' buffers";
    reader.Admit();
    reader.Feed(frame.data(), 1);
    EXPECT_EQ(reader.GetState(), State::OutOfBuffers);
    budget.Give(3 * kSmall);
    reader.Retry();
    const std::size_t left = kSmall;
    EXPECT_EQ(reader.Feed(frame.data() + frame.size() - left, left), left);
    ASSERT_EQ(reader.GetState(), State::Complete);
    EXPECT_EQ(reader.Take().bytes, frame);
    EXPECT_TRUE(strangers.Take(2 * kSmall)) << "not given back";
}

}  // namespace
}  // namespace CQXSERVER
