#include <windows.h>

#include "platform/text/code_page.h"

namespace CQXBASE::platform::text {

bool NeedsUtf8Codec(unsigned) noexcept {
    return false;
}

// A count includes the terminator, which lands in the string's own terminator slot.

std::wstring Widen(const char* text, unsigned codePage) {
    const int count = MultiByteToWideChar(codePage, 0, text, -1, nullptr, 0);
    if (count <= 0) {
        return {};
    }
    std::wstring wide(static_cast<std::size_t>(count) - 1, L'\0');
    MultiByteToWideChar(codePage, 0, text, -1, wide.data(), count);
    return wide;
}

std::string Narrow(const wchar_t* text, unsigned codePage) {
    const int count = WideCharToMultiByte(codePage, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (count <= 0) {
        return {};
    }
    std::string narrow(static_cast<std::size_t>(count) - 1, '\0');
    WideCharToMultiByte(codePage, 0, text, -1, narrow.data(), count, nullptr, nullptr);
    return narrow;
}

}  // namespace CQXBASE::platform::text
