#include "visitors.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <stdexcept>

namespace qxdb_bench {
namespace {

int HexDigit(char digit) {
    return digit <= '9' ? digit - '0' : (digit | 0x20) - 'a' + 10;
}

/// PostgreSQL writes bytes as "\x0a1b", MariaDB as they are.
std::string BlobOf(std::string_view text) {
    if (text.substr(0, 2) != "\\x") {
        return std::string(text);
    }
    std::string bytes;
    for (std::size_t i = 2; i + 1 < text.size(); i += 2) {
        bytes += static_cast<char>(HexDigit(text[i]) << 4 | HexDigit(text[i + 1]));
    }
    return bytes;
}

}  // namespace

std::int64_t ParseTimestamp(std::string_view text) {
    std::tm parts{};
    int read = 0;
    const std::string whole(text);
    if (std::sscanf(whole.c_str(), "%d-%d-%d %d:%d:%d%n", &parts.tm_year, &parts.tm_mon,
                    &parts.tm_mday, &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &read) != 6) {
        throw std::invalid_argument("no timestamp: " + whole);
    }
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    const std::string fraction = whole.substr(static_cast<std::size_t>(read));
    const double seconds = fraction.empty() ? 0 : std::strtod(("0" + fraction).c_str(), nullptr);
    return static_cast<std::int64_t>(timegm(&parts)) * 1000000 +
           static_cast<std::int64_t>(seconds * 1e6 + 0.5);
}

void Digester::Written(CellType type, std::string_view text) {
    switch (type) {
        case CellType::Integer:
            Integer(std::strtoll(std::string(text).c_str(), nullptr, 10));
            break;
        case CellType::Real:
            Real(std::strtod(std::string(text).c_str(), nullptr));
            break;
        case CellType::Text:
            Text(text);
            break;
        case CellType::Timestamp:
            Timestamp(ParseTimestamp(text));
            break;
        case CellType::Blob:
            Blob(BlobOf(text));
            break;
    }
}

}  // namespace qxdb_bench
