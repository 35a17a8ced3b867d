#include "cli/output/display_text.h"

#include <algorithm>

#include <utf8proc.h>

#include "util/printable.h"

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

bool IsPlainAscii(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
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

std::string ErrorForDisplay(std::string_view text) {
    return CQXBASE::PrintableUtf8(text, CQXBASE::LineBreaks::Keep);
}

std::string_view FirstPiece(std::string_view text) noexcept {
    if (text.size() <= kPieceBytes) {
        return text;
    }
    constexpr std::size_t kLongestCharacter = 4;
    std::size_t end = kPieceBytes;
    while (end > kPieceBytes - kLongestCharacter &&
           (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
        --end;
    }
    return text.substr(0, end);
}

void WriteEscaped(std::ostream& out, std::string_view text) {
    if (IsPlainAscii(text)) {
        out << text;
        return;
    }
    while (!text.empty()) {
        const std::string_view piece = FirstPiece(text);
        out << CQXBASE::PrintableUtf8(piece);
        text.remove_prefix(piece.size());
    }
}

std::size_t EscapedWidth(std::string_view text, std::size_t most) {
    std::size_t width = 0;
    while (!text.empty() && width <= most) {
        const std::string_view piece = FirstPiece(text);
        width += IsPlainAscii(piece) ? piece.size() : DisplayWidth(CQXBASE::PrintableUtf8(piece));
        text.remove_prefix(piece.size());
    }
    return width;
}

void WriteBlanks(std::ostream& out, std::size_t count) {
    constexpr std::string_view kBlanks = "                                ";
    for (; count > kBlanks.size(); count -= kBlanks.size()) {
        out << kBlanks;
    }
    out << kBlanks.substr(0, count);
}

std::size_t DisplayWidth(std::string_view text) noexcept {
    if (IsPlainAscii(text)) {
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
