#include "proxy/base64.h"

#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace CQXBASE {
namespace {

std::string Encode(const std::string& bytes) {
    return Base64Encode(reinterpret_cast<const unsigned char*>(bytes.data()),
                        static_cast<int>(bytes.size()));
}

/// Decodes from a buffer without a terminator, so that a sanitizer sees a read beyond the text.
std::string Decode(const std::string& text) {
    const auto exact = std::make_unique<char[]>(text.size());
    text.copy(exact.get(), text.size());
    int length = 0;
    std::string bytes = Base64Decode(exact.get(), static_cast<int>(text.size()), length);
    EXPECT_EQ(bytes.size(), static_cast<std::size_t>(length));
    return bytes;
}

TEST(Base64, KnownTexts) {
    const std::pair<std::string, std::string> known[] = {
        {"", ""},
        {std::string(1, '\0'), "AA=="},
        {"u:p", "dTpw"},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foob", "Zm9vYg=="},
        {"\xfb\xff\xbf\xff", "+/+//w=="},
    };
    for (const auto& [bytes, text] : known) {
        EXPECT_EQ(text, Encode(bytes));
        EXPECT_EQ(bytes, Decode(text));
    }
}

TEST(Base64, LinesBreakAfterWholeGroupsOf76Characters) {
    EXPECT_EQ(std::string(76, 'A') + "\r\n", Encode(std::string(57, '\0')));
    EXPECT_EQ(std::string(76, 'A') + "\r\nAAAA", Encode(std::string(60, '\0')));
    EXPECT_EQ(std::string(76, 'A') + "\r\n" + std::string(76, 'A') + "\r\nAA==",
              Encode(std::string(115, '\0')));
    EXPECT_EQ(std::string(74, 'A') + "==", Encode(std::string(55, '\0')))
        << "a padded group is not counted";
}

TEST(Base64, EveryLengthComesBack) {
    std::string bytes;
    for (int length = 0; length < 300; ++length) {
        EXPECT_EQ(bytes, Decode(Encode(bytes))) << length;
        bytes += static_cast<char>(length * 37);
    }
}

TEST(Base64, DecodeSkipsLineBreaksAndAddsToTheCount) {
    EXPECT_EQ("foobar", Decode("\r\nZm9v\n\nYmFy\r\n"));
    int length = 5;
    EXPECT_EQ("foo", Base64Decode("Zm9v", 4, length));
    EXPECT_EQ(8, length);
}

TEST(Base64, DecodeTakesAnyText) {
    EXPECT_EQ(std::string(3, '\0'), Decode("*?-_"));
    EXPECT_EQ(std::string(3, '\0'), Decode("{|}~")) << "beyond the table";
    EXPECT_EQ(std::string(3, '\0'), Decode("\x80\xff\xe4\x80")) << "negative as a char";
    EXPECT_EQ("f", Decode("Zg")) << "the end counts as padding";
    EXPECT_EQ("fo", Decode("Zm8"));
    EXPECT_EQ("d", Decode("Z"));
    EXPECT_EQ(1U, Decode("Z===").size());
    int length = 0;
    EXPECT_EQ("", Base64Decode("Zm9v", -4, length));
    EXPECT_EQ(0, length);
}

}  // namespace
}  // namespace CQXBASE
