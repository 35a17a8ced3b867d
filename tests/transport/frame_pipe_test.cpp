#include <gmock/gmock.h>
#include <openssl/evp.h>

#include "errors/qx_exception.h"
#include "tests/support/Hex.h"
#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"
#include "transport/frame_cipher.h"
#include "transport/outgoing_frame.h"

namespace CQXBASE {
namespace {

using qxdb_test::ToHex;

const std::string kBody = "twelve bytes";

class FramePipe : public TransportTest {
  protected:
    int Send(OutgoingFrame& frame, bool encipher, int limit) {
        return io_.pipe_before_send(frame.Body(), frame.Header(), 6, limit, encipher,
                                    frame.CipherText());
    }
    int Send(OutgoingFrame& frame, bool encipher) {
        return Send(frame, encipher, frame.MaxLength());
    }
    std::string Part(int index) const {
        return {static_cast<const char*>(io_.sendIov_[index].iov_base),
                io_.sendIov_[index].iov_len};
    }
    int Receive(const std::string& frame) {
        io_.rxBlock_ = NewBlock(frame.size() + 1);
        io_.rxBlock_->copy(frame.data(), frame.size());
        return io_.pipe_before_recv(got_.data, got_.length, got_.plainText, got_.typeCode,
                                    got_.enciphered);
    }

    OpenQXIO io_{0};
};

TEST_F(FramePipe, PlainAndEncipheredBodies) {
    Bytes record(kBody);
    OutgoingFrame plain(record);
    ASSERT_EQ(Send(plain, false), 0);
    EXPECT_EQ(ToHex(Part(0)), "01 00 00 00 06 00 00 00 0c 00 00 00 00 00 00 00");
    EXPECT_EQ(io_.sendIov_[1].iov_base, plain.Body().begin()->rd_ptr());  // not copied
    EXPECT_EQ(Part(1), kBody);
    OutgoingFrame enciphered(record);
    ASSERT_EQ(Send(enciphered, true), 0);
    EXPECT_EQ(ToHex(Part(0)), "01 00 00 00 06 00 00 00 10 00 00 00 0c 00 00 00");
    EXPECT_EQ(FrameCipher().Decipher(Part(1)), kBody);
}

TEST_F(FramePipe, NeitherHugeNorEmptyBodiesAreEnciphered) {
    for (const std::size_t size : {41943040U, 41943041U, 0U}) {
        Bytes record(std::string(size, 'm'));
        OutgoingFrame frame(record);
        ASSERT_EQ(Send(frame, true), 0);
        const FrameHeader header = DecodeFrameHeader(Part(0).data());
        EXPECT_EQ(header.plainLength, size == 41943040 ? size : 0);
        EXPECT_EQ(header.bodyLength, size == 41943040 ? size + 16 : size);
    }
}

TEST_F(FramePipe, LengthLimit) {
    Bytes liar(kBody, kBody.size() - 1);
    OutgoingFrame frame(liar);
    EXPECT_THROW(Send(frame, false), QX_Exception);
    EXPECT_EQ(frame.Header().total_length(), 0U);
    for (const int limit : {0, -1, static_cast<int>(kBody.size())}) {
        EXPECT_EQ(Send(frame, false, limit), 0);
        frame.Header().reset();
    }
}

/// Writes far more than the stream was made for, with alignment bytes between its fields.
class Sprawling : public QXIOBase {
  public:
    int toCDR(ACE_OutputCDR& out) const override {
        for (int i = 0; i < 1000; ++i) {
            out.write_octet(0xAA);
            out.write_ulonglong(0);
        }
        return out.good_bit() ? 1 : 0;
    }
};

TEST_F(FramePipe, BodyInSeveralBlocksIsWholeAndItsGapsAreZero) {
    { const std::string dirt(100000, 'x'); }  // where the blocks may come to lie
    Sprawling record;
    OutgoingFrame frame(record);
    ASSERT_EQ(Send(frame, false), 0);
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        expected += '\xAA' + std::string(15, '\0');
    }
    EXPECT_EQ(Part(1), expected);
}

TEST_F(FramePipe, EncipheringFailureIsRecordedAndLogged) {
    Bytes record(kBody);
    OutgoingFrame frame(record);
    ASSERT_EQ(EVP_set_default_properties(nullptr, "provider=nobody"), 1);
    const int sent = Send(frame, true);
    ASSERT_EQ(EVP_set_default_properties(nullptr, ""), 1);
    EXPECT_EQ(sent, -1);
    EXPECT_EQ(io_.LastErrorCode(), 5003);
    EXPECT_EQ(io_.LastErrorText().substr(0, 5), L"加密错误：");
    ASSERT_EQ(log_.progress.size(), 1U);
    // Step 2 makes the key, step 4 uses one that has been kept.
    EXPECT_THAT(log_.progress[0],
                testing::MatchesRegex(": pipe_before_send\\(\\) error, 5003, step=.,srclen=12, "
                                      "length=12, \\(errno = .*\n"));
    EXPECT_EQ(io_.sendIov_[0].iov_base, nullptr);
}

TEST_F(FramePipe, BlocksThatHoldNoWholeFrame) {
    const std::string frame = Frame(1, kBody);
    EXPECT_THROW(Receive(frame.substr(0, 15)), QX_Exception);
    EXPECT_THROW(Receive(frame.substr(0, frame.size() - 1)), QX_Exception);
    EXPECT_EQ(Receive(frame), 0);
    EXPECT_EQ(std::string(got_.data, got_.length), kBody);
}

}  // namespace
}  // namespace CQXBASE
