#include "server/database_names.h"

#include <algorithm>

#include <Poco/String.h>
#include <Poco/StringTokenizer.h>

#include "util/ascii.h"

namespace CQXSERVER {
namespace {

constexpr std::size_t kMaxBytes = 64;

bool IsNameByte(char c) noexcept {
    return CQXBASE::IsAsciiLetter(c) || CQXBASE::IsAsciiDigit(c) || c == '_' || c == '-' ||
           c == '.';
}

}  // namespace

bool IsDatabaseName(const std::string& name) noexcept {
    return !name.empty() && name.size() <= kMaxBytes &&
           std::all_of(name.begin(), name.end(), IsNameByte);
}

std::vector<std::string> SplitDatabases(const std::string& text) {
    using Poco::StringTokenizer;
    if (text == "*") {
        return {};
    }
    const StringTokenizer pieces(text, ",",
                                 StringTokenizer::TOK_TRIM | StringTokenizer::TOK_IGNORE_EMPTY);
    return {pieces.begin(), pieces.end()};
}

std::string JoinDatabases(const std::vector<std::string>& databases) {
    return databases.empty() ? "*"
                             : Poco::cat(std::string(","), databases.begin(), databases.end());
}

}  // namespace CQXSERVER
