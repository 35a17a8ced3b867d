// Bytes as pairs of lower-case hexadecimal digits.
#pragma once

#include <cctype>
#include <string>
#include <string_view>

namespace qxdb_test {

/// "07 00 00 00"
inline std::string ToHex(std::string_view bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string out;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        out += out.empty() ? "" : " ";
        out += {kDigits[value >> 4], kDigits[value & 15]};
    }
    return out;
}

/// Takes digits with blanks between the pairs or without.
inline std::string FromHex(std::string_view hex) {
    std::string digits;
    for (const char character : hex) {
        if (std::isxdigit(static_cast<unsigned char>(character)) != 0) {
            digits += character;
        }
    }
    std::string out;
    for (std::size_t at = 0; at + 1 < digits.size(); at += 2) {
        out += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
    }
    return out;
}

}  // namespace qxdb_test
