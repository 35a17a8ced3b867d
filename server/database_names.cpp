#include "server/database_names.h"

#include <algorithm>

#include <Poco/String.h>

#include "util/ascii.h"

namespace CQXSERVER {
namespace {

constexpr std::size_t kMaxBytes = 64;
constexpr std::string_view kAll = "*";

bool IsNameByte(char c) noexcept {
    return CQXBASE::IsAsciiLetter(c) || CQXBASE::IsAsciiDigit(c) || c == '_' || c == '-' ||
           c == '.';
}

}  // namespace

bool IsDatabaseName(const std::string& name) noexcept {
    return !name.empty() && name.size() <= kMaxBytes &&
           std::all_of(name.begin(), name.end(), IsNameByte);
}

AllowedDatabases::AllowedDatabases(std::initializer_list<std::string> names) {
    for (const std::string& each : names) {
        Add(each);
    }
}

AllowedDatabases AllowedDatabases::All() {
    AllowedDatabases all;
    all.all_ = true;
    return all;
}

AllowedDatabases AllowedDatabases::Parse(std::string_view text) {
    if (CQXBASE::TrimAscii(text) == kAll) {
        return All();
    }
    AllowedDatabases named;
    while (!text.empty()) {
        const std::size_t comma = std::min(text.find(','), text.size());
        const std::string_view name = CQXBASE::TrimAscii(text.substr(0, comma));
        if (!name.empty()) {
            named.Add(name);
        }
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
    return named;
}

std::string AllowedDatabases::Text() const {
    return all_ ? std::string(kAll) : Poco::cat(std::string(","), names_.begin(), names_.end());
}

bool AllowedDatabases::Have(const std::string& name) const {
    return all_ || std::find(names_.begin(), names_.end(), name) != names_.end();
}

void AllowedDatabases::Add(std::string_view name) {
    if (std::find(names_.begin(), names_.end(), name) == names_.end()) {
        names_.emplace_back(name);
    }
}

}  // namespace CQXSERVER
