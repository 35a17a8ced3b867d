#include "util/text.h"

#include "platform/text/code_page.h"

namespace CQXBASE {

std::wstring ToWide(const std::string& text, unsigned codePage) {
    return ToWide(text.c_str(), codePage);
}

std::wstring ToWide(const char* text, unsigned codePage) {
    if (text == nullptr || *text == '\0') {
        return {};
    }
    return platform::text::NeedsUtf8Codec(codePage) ? Utf8ToWide(text)
                                                    : platform::text::Widen(text, codePage);
}

std::string ToNarrow(const std::wstring& text, unsigned codePage) {
    const wchar_t* first = text.c_str();
    if (*first == L'\0') {
        return {};
    }
    return platform::text::NeedsUtf8Codec(codePage) ? WideToUtf8(first)
                                                    : platform::text::Narrow(first, codePage);
}

}  // namespace CQXBASE
