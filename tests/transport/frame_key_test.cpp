// How often the frame key is derived. Built once for each state of the option QXDB_KEEP_FRAME_KEY.
#include <atomic>
#include <dlfcn.h>
#include <thread>
#include <utility>
#include <vector>

#include <openssl/evp.h>

#include "errors/qx_exception.h"
#include "tests/support/Hex.h"
#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"
#include "transport/frame_cipher.h"

namespace {

std::atomic<int> derivations{0};
std::atomic<bool> faults{false};  ///< the next derivation

}  // namespace

/// Stands before OpenSSL's own, to count.
extern "C" __attribute__((visibility("default"))) int EVP_BytesToKey(
    const EVP_CIPHER* type, const EVP_MD* digest, const unsigned char* salt,
    const unsigned char* data, int length, int rounds, unsigned char* key, unsigned char* vector) {
    ++derivations;
    if (faults.exchange(false)) {
        QXDB_THROW(L"EXCEPTION_ACCESS_VIOLATION", L"", L"");
    }
    static const auto real =
        reinterpret_cast<decltype(&EVP_BytesToKey)>(dlsym(RTLD_NEXT, "EVP_BytesToKey"));
    return real(type, digest, salt, data, length, rounds, key, vector);
}

namespace CQXBASE {
namespace {

/// Sends one body enciphered and takes it back.
void ThereAndBack(const std::string& body) {
    const LogCapture log;
    StreamPair pair;
    OpenQXIO io(pair.nearEnd);
    Bytes record(body);
    ASSERT_EQ(io.Syc_sendobj(record, 2, true, false), 0);
    const std::string frame = ReadFrame(pair.farEnd);
    if (body.size() == 12) {
        EXPECT_EQ(qxdb_test::ToHex(frame.substr(16)),
                  "d0 4f eb 6a 1c da fc 98 9b e8 6b 63 e6 07 5c 95");
    }
    Write(pair.farEnd, frame);
    Received got;
    ASSERT_EQ(got.SyncFrom(io), 0);
    EXPECT_EQ(got.Body(), body);
}

TEST(FrameKey, DerivedForEveryFrameUnlessItIsKept) {
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (std::size_t i = 0; i < 5; ++i) {
                ThereAndBack(Body(1000 * t + i + 20));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    ThereAndBack(qxdb_test::FromHex("07000000 02000000 61006200"));
    EXPECT_EQ(derivations, QXDB_KEEP_FRAME_KEY != 0 ? 1 : 42);
    derivations = 0;
    int firstTime = QXDB_KEEP_FRAME_KEY != 0 ? 0 : 1;
    for (const bool keep : {true, false, true, false}) {
        FrameCipher::Keep(keep);
        ThereAndBack("once more");
        ThereAndBack("and again");
        EXPECT_EQ(derivations.exchange(0), keep ? std::exchange(firstTime, 0) : 4);
    }
}

#if !QXDB_KEEP_FRAME_KEY
TEST(FrameKey, FaultWhileItIsDerivedAheadIsToldAndTheReplyTakenWhole) {
    const LogCapture log;
    StreamPair pair;
    OpenQXIO io(pair.nearEnd);
    Bytes record("twelve bytes");
    Received got;
    for (const bool fault : {true, false}) {
        ASSERT_EQ(io.Syc_sendobj(record, 1, true, false), 0);
        Write(pair.farEnd, ReadFrame(pair.farEnd));
        faults = fault;
        EXPECT_EQ(got.SyncFrom(io), fault ? -1 : 0);
        EXPECT_FALSE(io.MidExchange());
        EXPECT_EQ(io.LastErrorCode(), 1);
        EXPECT_EQ(io.LastErrorText(), L"解密错误：EXCEPTION_ACCESS_VIOLATION\n");
    }
    EXPECT_EQ(got.Body(), "twelve bytes");
}
#endif

}  // namespace
}  // namespace CQXBASE
