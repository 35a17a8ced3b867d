#include <windows.h>

#include "platform/text/error_text.h"

namespace CQXBASE::platform::text {
namespace {

/// wsprintfW knows no buffer size, but never writes more than this, terminator included.
constexpr std::size_t kMostWritten = 1024;

template <class... Arguments>
std::wstring Format(const wchar_t* format, Arguments... arguments) {
    wchar_t text[kMostWritten + 1] = {};
    wsprintfW(text, format, arguments...);
    return std::wstring(text).substr(0, kErrorTextCapacity - 1);
}

}  // namespace

std::wstring FaultText(const wchar_t* name, std::uintptr_t address, std::uint32_t code) {
    return Format(L"%s\n address:\t0x%08x code:\t\t%lu", name,
                  static_cast<unsigned>(address & 0xFFFFFFFFU), static_cast<unsigned long>(code));
}

std::wstring ExpressionText(const wchar_t* expression) {
    return Format(L"Expression: %s", expression);
}

std::wstring CodedText(const std::wstring& description, int code) {
    return Format(L"%.580s(%d).", description.c_str(), code);
}

}  // namespace CQXBASE::platform::text
