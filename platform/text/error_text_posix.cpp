#include <cwchar>

#include "platform/text/error_text.h"

namespace CQXBASE::platform::text {
namespace {

template <class... Arguments>
std::wstring Format(const wchar_t* format, Arguments... arguments) {
    wchar_t text[kErrorTextCapacity] = {};
    std::swprintf(text, kErrorTextCapacity, format, arguments...);
    return text;
}

}  // namespace

std::wstring FaultText(const wchar_t* name, std::uintptr_t address, std::uint32_t code) {
    return Format(L"%ls\n address:\t0x%08lx code:\t\t%lu", name,
                  static_cast<unsigned long>(address & 0xFFFFFFFFU),
                  static_cast<unsigned long>(code));
}

std::wstring ExpressionText(const wchar_t* expression) {
    return Format(L"Expression: %.587ls", expression);
}

std::wstring CodedText(const std::wstring& description, int code) {
    return Format(L"%.580ls(%d).", description.c_str(), code);
}

}  // namespace CQXBASE::platform::text
