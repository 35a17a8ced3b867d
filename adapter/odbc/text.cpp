#include "adapter/odbc/text.h"

#include "util/text.h"

namespace CQXDB::adapter::odbc {

OdbcText ToOdbcText(std::string_view utf8) {
    const std::u16string units = CQXBASE::ToUtf16(CQXBASE::Utf8ToWide(utf8));
    return {units.begin(), units.end()};
}

std::string FromOdbcText(const SQLWCHAR* units, std::size_t count) {
    return CQXBASE::WideToUtf8(CQXBASE::FromUtf16(std::u16string(units, units + count)));
}

std::string FromOdbcText(const SQLWCHAR* text) {
    std::size_t count = 0;
    while (text[count] != 0) {
        ++count;
    }
    return FromOdbcText(text, count);
}

}  // namespace CQXDB::adapter::odbc
