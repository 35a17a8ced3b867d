// A large reply's body between the threads that make, encipher and send it.
#include "server/network/reply_body.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "transport/frame.h"

namespace CQXSERVER {
namespace {

using CQXBASE::FrameCipher;

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
    for (const int pieces : {0, 1, 8}) {
        for (const bool close : {false, true}) {
            network::ReplyBody body(&cipher);
            for (int i = 0; i < pieces; ++i) {
                body.Add(Piece(std::size_t{1} << 20, 0));
            }
            if (close) {
                body.Close();
                body.Ready([] {});
            }
            EXPECT_EQ(body.PlainSize(), static_cast<std::size_t>(pieces) << 20);
        }
    }
}

}  // namespace
}  // namespace CQXSERVER
