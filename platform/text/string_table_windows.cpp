#include <windows.h>

#include "platform/text/string_table.h"

namespace CQXBASE::platform::text {

std::wstring TableString(unsigned id, const wchar_t* fallback) {
    HMODULE module = nullptr;
    GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<LPCWSTR>(&TableString), &module);
    wchar_t text[256];
    const int length = LoadStringW(module, id, text, 256);
    return length > 0 ? std::wstring(text, static_cast<std::size_t>(length))
                      : std::wstring(fallback);
}

}  // namespace CQXBASE::platform::text
