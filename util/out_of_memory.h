// Telling of a lack of memory without needing any.
#pragma once

#include <algorithm>
#include <new>
#include <string>
#include <string_view>

namespace CQXBASE {

/// Makes `text` "out of memory"; where not even these characters can be had, as much of it as fits
/// into the room that a string always has.
inline void TellOutOfMemory(std::wstring& text) noexcept {
    constexpr std::wstring_view kText = L"out of memory";
    try {
        text = kText;
    } catch (const std::bad_alloc&) {
        text.assign(kText.substr(0, std::min(kText.size(), text.capacity())));
    }
}

}  // namespace CQXBASE
