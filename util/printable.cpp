#include "util/printable.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "util/unicode.h"

namespace CQXBASE {
namespace {

constexpr std::string_view kReplacementUtf8 = "\xEF\xBF\xBD";

bool IsPlain(char c) noexcept {
    return c >= ' ' && c <= '~';
}

void AppendEscape(std::string& shown, char32_t point) {
    switch (point) {
        case U'\n':
            shown += "\\n";
            return;
        case U'\r':
            shown += "\\r";
            return;
        case U'\t':
            shown += "\\t";
            return;
        default:
            break;
    }
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), point < 0x80 ? "\\x%02x" : "\\u%04x",
                  static_cast<unsigned>(point));
    shown += text.data();
}

}  // namespace

bool IsControl(char32_t point) noexcept {
    return point < 0x20 || (point >= 0x7F && point < 0xA0) || point == 0x61C || point == 0x200E ||
           point == 0x200F || (point >= 0x2028 && point <= 0x202E) ||
           (point >= 0x2066 && point <= 0x2069);
}

std::string PrintableUtf8(std::string_view text, LineBreaks breaks) {
    const bool keep = breaks == LineBreaks::Keep;
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        const auto plain = static_cast<std::size_t>(
            std::find_if_not(text.begin(), text.end(), IsPlain) - text.begin());
        shown += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty()) {
            break;
        }
        const Utf8Point next = FirstPoint(text);
        const bool lineEnd = keep && (text[0] == '\n' || text[0] == '\t');
        const bool beforeLineEnd = keep && text.substr(0, 2) == "\r\n";
        if (!next.wellFormed) {
            shown += kReplacementUtf8;
        } else if (!IsControl(next.point) || lineEnd) {
            shown += text.substr(0, next.length);
        } else if (!beforeLineEnd) {
            AppendEscape(shown, next.point);
        }
        text.remove_prefix(next.length);
    }
    return shown;
}

}  // namespace CQXBASE
