#include "util/text.h"

#include <utility>

#include <gtest/gtest.h>

namespace CQXBASE {
namespace {

const std::wstring kMixed = L"a\u00e9\u4e2d\U0001F600z";
const std::string kMixedUtf8 = "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80z";

TEST(Utf8, RoundTripsEveryLengthAndNul) {
    const std::wstring ends = L"\x7f\u0080\u07ff\u0800\ud7ff\ue000\uffff\U00010000\U0010ffff";
    for (const std::wstring& text : {kMixed, ends, std::wstring(L"a\0b", 3), std::wstring()}) {
        EXPECT_EQ(Utf8ToWide(WideToUtf8(text)), text);
    }
    EXPECT_EQ(WideToUtf8(kMixed), kMixedUtf8);
    EXPECT_EQ(WideToUtf8(L"\u4e2d" + std::wstring(1, L'\0')), std::string("\xE4\xB8\xAD\0", 4));
}

TEST(Utf8, MalformedSequencesBecomeReplacements) {
    const std::pair<const char*, const wchar_t*> cases[] = {
        {"\x80x", L"\ufffdx"},                              // a continuation byte alone
        {"\xC0\xAF", L"\ufffd\ufffd"},                      // overlong slash
        {"\xE0\x80\xAF", L"\ufffd\ufffd\ufffd"},            // overlong slash
        {"\xED\xA0\x80", L"\ufffd\ufffd\ufffd"},            // surrogate
        {"\xF4\x90\x80\x80", L"\ufffd\ufffd\ufffd\ufffd"},  // past the last code point
        {"\xF0\x9F\x98", L"\ufffd"},                        // cut short by the end
        {"\xE4\xB8z", L"\ufffdz"},                          // cut short by a letter
        {"\xFF\xC3\xA9\x80\x80\x80", L"\ufffd\u00e9\ufffd\ufffd\ufffd"},
    };
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(Utf8ToWide(bytes), text);
    }
}

TEST(Utf8, LoneSurrogatesBecomeReplacements) {
    const std::wstring lone{L'a', static_cast<wchar_t>(0xD800), L'b', static_cast<wchar_t>(0xDC00)};
    EXPECT_EQ(WideToUtf8(lone),
              "a\xEF\xBF\xBD"
              "b\xEF\xBF\xBD");
}

TEST(Utf16, PairsAndLoneSurrogatesSurvive) {
    EXPECT_EQ(ToUtf16(kMixed), u"a\u00e9\u4e2d\U0001F600z");
    EXPECT_EQ(Utf16Length(kMixed), 6U);
    const std::u16string lone{u'a', 0xDC00, 0xD800, u'b', 0xD83D, 0xDE00, 0xD800};
    EXPECT_EQ(ToUtf16(FromUtf16(lone)), lone);
}

TEST(CodePage, EmptyNullAndUnknownPagesGiveEmpty) {
    EXPECT_EQ(ToWide("text", 4242), L"");
    EXPECT_EQ(ToNarrow(L"text", 1200), "");
    EXPECT_EQ(ToWide(std::string(), kCodePageAnsi), L"");
    EXPECT_EQ(ToWide(static_cast<const char*>(nullptr), kCodePageAnsi), L"");
    EXPECT_EQ(ToNarrow(L"", kCodePageAnsi), "");
    EXPECT_EQ(ToNarrow(std::wstring(L"\0x", 2), kCodePageUtf8), "");
}

TEST(CodePage, ConvertsUpToTheFirstNul) {
    EXPECT_EQ(ToWide(std::string("ab\0c", 4), kCodePageAnsi), L"ab");
    EXPECT_EQ(ToNarrow(std::wstring(L"ab\0c", 4), 1252), "ab");
    EXPECT_EQ(ToNarrow(kMixed, kCodePageUtf8), kMixedUtf8);
    EXPECT_EQ(ToWide(kMixedUtf8, kCodePageUtf8), kMixed);
}

TEST(CodePage, SingleAndDoubleBytePages) {
    EXPECT_EQ(ToNarrow(L"caf\u00e9 \u20ac", 1252), "caf\xE9 \x80");
    EXPECT_EQ(ToWide("caf\xE9 \x80", 1252), L"caf\u00e9 \u20ac");
    EXPECT_EQ(ToWide("\xD6\xD0\xCE\xC4", 936), L"\u4e2d\u6587");
    EXPECT_EQ(ToNarrow(L"\u4e2d\u6587", 936), "\xD6\xD0\xCE\xC4");
    EXPECT_EQ(ToNarrow(L"\u20ac", 28605), "\xA4");
    EXPECT_EQ(ToNarrow(L"caf\u4e2d!", 1252), "caf?!");
    const std::wstring manyChunks(5000, L'\u4e2d');
    EXPECT_TRUE(ToWide(ToNarrow(manyChunks, 936), 936) == manyChunks);
}

}  // namespace
}  // namespace CQXBASE
