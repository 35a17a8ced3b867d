#include <cstdlib>
#include <limits>

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include "errors/qx_exception.h"
#include "tests/support/Hex.h"
#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"
#include "transport/frame.h"
#include "transport/frame_cipher.h"
#include "transport/outgoing_frame.h"

namespace CQXBASE {
namespace {

using qxdb_test::ToHex;

const std::string kBody = "twelve bytes";

class FramePipe : public testing::Test {
  protected:
    int Send(OutgoingFrame& frame, bool encipher) {
        return io_.pipe_before_send(frame.Body(), frame.Header(), 6, frame.MaxLength(), encipher,
                                    frame.CipherText());
    }
    std::string Part(int index) const {
        return {static_cast<const char*>(io_.sendIov_[index].iov_base),
                io_.sendIov_[index].iov_len};
    }
    FrameHeader Header() const { return DecodeFrameHeader(Part(0).data()); }
    int Receive(const std::string& frame) {
        io_.rxBlock_ = NewBlock(frame.size() + 1);
        io_.rxBlock_->copy(frame.data(), frame.size());
        return io_.pipe_before_recv(got_.data, got_.length, got_.plainText, got_.typeCode,
                                    got_.enciphered);
    }
    void ExpectDecipherFailure(const std::string& frame) {
        io_.set_last_error(0, L"");
        EXPECT_EQ(Receive(frame), -1);
        EXPECT_EQ(io_.LastErrorCode(), 1);
        EXPECT_EQ(io_.LastErrorText().substr(0, 5), L"解密错误：");
    }

    LogCapture log_;
    OpenQXIO io_{0};
    Received got_;
};

TEST_F(FramePipe, PlainBodyIsSentFromItsStream) {
    Bytes record(kBody);
    OutgoingFrame frame(record);
    ASSERT_EQ(Send(frame, false), 0);
    EXPECT_EQ(ToHex(Part(0)), "01 00 00 00 06 00 00 00 0c 00 00 00 00 00 00 00");
    EXPECT_EQ(io_.sendIov_[1].iov_base, frame.Body().begin()->rd_ptr());
    EXPECT_EQ(Part(1), kBody);
}

TEST_F(FramePipe, EncipheredBodyCarriesBothLengths) {
    Bytes record(kBody);
    OutgoingFrame frame(record);
    ASSERT_EQ(Send(frame, true), 0);
    EXPECT_EQ(ToHex(Part(0)), "01 00 00 00 06 00 00 00 10 00 00 00 0c 00 00 00");
    EXPECT_EQ(FrameCipher().Decipher(Part(1)), kBody);
    EXPECT_EQ(Receive(Part(0) + Part(1)), 0);
    EXPECT_EQ(std::string(got_.data, got_.length), kBody);
    EXPECT_EQ(got_.data, got_.plainText.data());
    EXPECT_EQ(got_.typeCode, 6U);
}

TEST_F(FramePipe, BodiesAbove40MiBGoPlain) {
    Bytes most(std::string(41943040, 'm'));
    OutgoingFrame enciphered(most);
    ASSERT_EQ(Send(enciphered, true), 0);
    EXPECT_EQ(Header().plainLength, 41943040U);
    EXPECT_EQ(Header().bodyLength, 41943056U);
    Bytes tooMany(std::string(41943041, 'm'));
    OutgoingFrame plain(tooMany);
    ASSERT_EQ(Send(plain, true), 0);
    EXPECT_EQ(Header().plainLength, 0U);
    EXPECT_EQ(Header().bodyLength, 41943041U);
    EXPECT_EQ(io_.sendIov_[1].iov_base, plain.Body().begin()->rd_ptr());
}

TEST_F(FramePipe, EmptyBodyIsNeverEnciphered) {
    // With ciphertext but a plain length of 0, its reader would take the ciphertext for the body.
    Bytes record("");
    OutgoingFrame frame(record);
    ASSERT_EQ(Send(frame, true), 0);
    EXPECT_EQ(Header().bodyLength, 0U);
    EXPECT_EQ(Header().plainLength, 0U);
}

TEST_F(FramePipe, LengthLimit) {
    Bytes liar(kBody, kBody.size() - 1);
    OutgoingFrame frame(liar);
    try {
        Send(frame, false);
        ADD_FAILURE() << "a body longer than its size() was taken";
    } catch (const QX_Exception& error) {
        EXPECT_EQ(error.message, L"data too long, send error.");
        EXPECT_EQ(error.file, L"qxio");
        EXPECT_EQ(error.function, L"CQXBASE::QXIO::pipe_before_send");
    }
    EXPECT_EQ(frame.Header().total_length(), 0U);
    for (const int limit : {0, -1, static_cast<int>(kBody.size())}) {
        Bytes record(kBody);
        OutgoingFrame again(record);
        EXPECT_EQ(
            io_.pipe_before_send(again.Body(), again.Header(), 6, limit, false, again.CipherText()),
            0);
    }
}

TEST_F(FramePipe, BodyInSeveralBlocksIsSentWhole) {
    const std::string body(100000, 'b');
    Bytes unsized(body, 0);
    OutgoingFrame frame(unsized);
    ASSERT_EQ(Send(frame, false), 0);
    EXPECT_EQ(Part(1), body);
}

/// Leaves alignment bytes between its fields.
class Unaligned : public QXIOBase {
  public:
    int toCDR(ACE_OutputCDR& out) const override {
        return out.write_octet(0xAA) && out.write_ulonglong(0) ? 1 : 0;
    }
    std::size_t size() override { return 4096; }
};

TEST_F(FramePipe, AlignmentBytesAreZero) {
    void* dirt = std::malloc(4096 + 8);
    std::fill_n(static_cast<volatile char*>(dirt), 4096 + 8, 'x');
    std::free(dirt);
    Unaligned record;
    OutgoingFrame frame(record);
    ASSERT_EQ(Send(frame, false), 0);
    EXPECT_EQ(Part(1), '\xAA' + std::string(15, '\0'));
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
    EXPECT_EQ(io_.LastErrorText().back(), L'\n');
    ASSERT_EQ(log_.Lines(9).size(), 1U);
    EXPECT_EQ(log_.Lines(9)[0].find(
                  ": pipe_before_send() error, 5003, step=2,srclen=12, length=12, (errno = "),
              0U);
    EXPECT_EQ(io_.sendIov_[0].iov_base, nullptr);
}

TEST_F(FramePipe, BigEndianHeaderIsUnderstood) {
    FrameHeader header{34, 12, 0, false};
    const FrameHeaderBytes bytes = EncodeFrameHeader(header);
    ASSERT_EQ(Receive(std::string(bytes.data(), bytes.size()) + kBody), 0);
    EXPECT_EQ(got_.typeCode, 34U);
    EXPECT_EQ(got_.length, 12U);
    EXPECT_FALSE(got_.enciphered);
    EXPECT_EQ(std::string(got_.data, got_.length), kBody);
}

TEST_F(FramePipe, UndecipherableBodies) {
    const std::string good = FrameCipher().Encipher(kBody);
    ExpectDecipherFailure(Frame(1, good, kBody.size() - 1));
    ExpectDecipherFailure(Frame(1, good, kBody.size() + 1));
    ExpectDecipherFailure(Frame(1, good, std::numeric_limits<std::uint32_t>::max()));
    ExpectDecipherFailure(Frame(1, good.substr(1), kBody.size()));
    ExpectDecipherFailure(Frame(1, std::string(16, 'a'), kBody.size()));
    ExpectDecipherFailure(Frame(1, "", kBody.size()));
    ASSERT_EQ(log_.Lines(9).size(), 6U);
    EXPECT_EQ(log_.Lines(9)[0].find("(-1): pipe_before_recv() from 0.0.0.0 error. (errno = "), 0U);
    EXPECT_EQ(Receive(Frame(1, good, kBody.size())), 0);
}

TEST_F(FramePipe, BlocksThatHoldNoWholeFrame) {
    const std::string frame = Frame(1, kBody);
    EXPECT_THROW(Receive(frame.substr(0, 15)), QX_Exception);
    EXPECT_THROW(Receive(frame.substr(0, frame.size() - 1)), QX_Exception);
    io_.rxBlock_.reset();
    EXPECT_THROW(io_.pipe_before_recv(got_.data, got_.length, got_.plainText, got_.typeCode,
                                      got_.enciphered),
                 QX_Exception);
}

}  // namespace
}  // namespace CQXBASE
