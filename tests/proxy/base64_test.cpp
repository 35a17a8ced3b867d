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
    int length = 5;
    std::string bytes = Base64Decode(exact.get(), static_cast<int>(text.size()), length);
    EXPECT_EQ(bytes.size() + 5, static_cast<std::size_t>(length)) << "the count is added";
    return bytes;
}

// Lines break after whole groups of 76 characters, of which a padded group is none.
TEST(Base64, KnownTexts) {
    const std::string line(76, 'A');
    const std::pair<std::string, std::string> known[] = {
        {"", ""},
        {"u:p", "dTpw"},
        {"fo", "Zm8="},
        {"foob", "Zm9vYg=="},
        {"\xfb\xff\xbf\xff", "+/+//w=="},
        {std::string(57, '\0'), line + "\r\n"},
        {std::string(115, '\0'), line + "\r\n" + line + "\r\nAA=="},
        {std::string(55, '\0'), line.substr(2) + "=="},
    };
    for (const auto& [bytes, text] : known) {
        EXPECT_EQ(text, Encode(bytes));
        EXPECT_EQ(bytes, Decode(text));
    }
    EXPECT_EQ("foobar", Decode("\r\nZm9v\n\nYmFy\r\n"));
}

TEST(Base64, EveryLengthComesBack) {
    std::string bytes;
    for (int length = 0; length < 300; ++length) {
        EXPECT_EQ(bytes, Decode(Encode(bytes))) << length;
        bytes += static_cast<char>(length * 37);
    }
}

TEST(Base64, DecodeTakesAnyText) {
    for (const char* text : {"*?-_", "{|}~", "\x80\xff\xe4\x80"}) {
        EXPECT_EQ(std::string(3, '\0'), Decode(text)) << "outside the alphabet, or the table";
    }
    EXPECT_EQ("f", Decode("Zg")) << "the end counts as padding";
    EXPECT_EQ("fo", Decode("Zm8"));
    EXPECT_EQ("d", Decode("Z"));
    int length = 0;
    EXPECT_EQ("", Base64Decode("Zm9v", -4, length));
}

}  // namespace
}  // namespace CQXBASE
