#include "cli/output/display_text.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include <utf8proc.h>

namespace CQXCLI::output {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

struct Character {
    utf8proc_int32_t code = -1;  ///< -1: a broken byte
    std::size_t bytes = 1;
};

Character CharacterAt(std::string_view text, std::size_t at) noexcept {
    Character found;
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data() + at);
    const auto left = static_cast<utf8proc_ssize_t>(text.size() - at);
    const utf8proc_ssize_t taken = utf8proc_iterate(bytes, left, &found.code);
    found.bytes = taken > 0 ? static_cast<std::size_t>(taken) : 1;
    return found;
}

/// Hands `take` each character and its bytes.
template <typename Take>
void EachCharacter(std::string_view text, Take take) {
    Character next;
    for (std::size_t at = 0; at < text.size(); at += next.bytes) {
        next = CharacterAt(text, at);
        take(next.code, text.substr(at, next.bytes));
    }
}

bool IsPlainAscii(char c) noexcept {
    return c >= ' ' && c <= '~';
}

/// Control characters, line separators, and what turns the writing direction around.
bool NeedsEscape(utf8proc_int32_t code) noexcept {
    const utf8proc_category_t category = utf8proc_category(code);
    return category == UTF8PROC_CATEGORY_CC || category == UTF8PROC_CATEGORY_ZL ||
           category == UTF8PROC_CATEGORY_ZP || (code >= 0x202A && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

std::string Escape(utf8proc_int32_t code) {
    switch (code) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            break;
    }
    std::array<char, 16> text{};
    const auto number = static_cast<unsigned>(code);
    std::snprintf(text.data(), text.size(), code < 0x80 ? "\\x%02x" : "\\u%04x", number);
    return text.data();
}

std::size_t WidthOf(utf8proc_int32_t code) noexcept {
    return code < 0 ? 1 : static_cast<std::size_t>(std::max(0, utf8proc_charwidth(code)));
}

}  // namespace

bool IsUtf8(std::string_view text) noexcept {
    Character next;
    for (std::size_t at = 0; at < text.size(); at += next.bytes) {
        next = CharacterAt(text, at);
        if (next.code < 0) {
            return false;
        }
    }
    return true;
}

std::string ToValidUtf8(std::string_view text) {
    std::string valid;
    valid.reserve(text.size());
    EachCharacter(text, [&valid](utf8proc_int32_t code, std::string_view bytes) {
        valid += code < 0 ? kReplacement : bytes;
    });
    return valid;
}

std::string EscapeForDisplay(std::string_view text) {
    if (std::all_of(text.begin(), text.end(), IsPlainAscii)) {
        return std::string(text);
    }
    std::string shown;
    EachCharacter(text, [&shown](utf8proc_int32_t code, std::string_view bytes) {
        if (code < 0) {
            shown += kReplacement;
        } else if (NeedsEscape(code)) {
            shown += Escape(code);
        } else {
            shown += bytes;
        }
    });
    return shown;
}

std::size_t DisplayWidth(std::string_view text) noexcept {
    if (std::all_of(text.begin(), text.end(), IsPlainAscii)) {
        return text.size();
    }
    std::size_t width = 0;
    EachCharacter(text, [&width](utf8proc_int32_t code, std::string_view /*bytes*/) {
        width += WidthOf(code);
    });
    return width;
}

std::string Ellipsis(std::string_view text, std::size_t columns) {
    if (DisplayWidth(text) <= columns) {
        return std::string(text);
    }
    std::size_t at = 0;
    for (std::size_t width = 0; at < text.size();) {
        const Character next = CharacterAt(text, at);
        width += WidthOf(next.code);
        if (width + 3 > columns) {
            break;
        }
        at += next.bytes;
    }
    return std::string(text.substr(0, at)) + "...";
}

}  // namespace CQXCLI::output
