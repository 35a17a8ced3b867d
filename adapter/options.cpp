#include "adapter/options.h"

#include <algorithm>
#include <charconv>
#include <system_error>
#include <utility>

#include "adapter/database_error.h"
#include "util/ascii.h"
#include "util/text.h"

namespace CQXDB::adapter {

using CQXBASE::TrimAscii;

namespace {

std::string Lower(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return lower;
}

[[noreturn]] void Refuse(const std::string& what) {
    throw DatabaseError(DBMGR_BAD_OPTION, what);
}

}  // namespace

Options::Options(std::string_view text) {
    if (CQXBASE::WideToUtf8(CQXBASE::Utf8ToWide(text)) != text ||
        text.find('\0') != std::string_view::npos) {
        Refuse("the options are no UTF-8 text");
    }
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(';'), text.size());
        const std::string_view pair = TrimAscii(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (pair.empty()) {
            continue;
        }
        const std::size_t equals = pair.find('=');
        if (equals == std::string_view::npos || equals == 0) {
            // Not repeated: it may be the end of a secret with a semicolon in it.
            Refuse("the options hold a piece that is not of the form key=value");
        }
        values_[Lower(TrimAscii(pair.substr(0, equals)))] = TrimAscii(pair.substr(equals + 1));
    }
}

std::string Options::Take(const std::string& key, const std::string& otherwise) {
    const auto node = values_.extract(key);
    return node.empty() ? otherwise : node.mapped();
}

std::int64_t Options::TakeNumber(const std::string& key, std::int64_t otherwise, std::int64_t least,
                                 std::int64_t most) {
    const auto node = values_.extract(key);
    if (node.empty()) {
        return otherwise;
    }
    const std::string& text = node.mapped();
    std::int64_t number = 0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (fault != std::errc() || end != text.data() + text.size() || number < least ||
        number > most) {
        Refuse("the option " + key + " takes a number from " + std::to_string(least) + " to " +
               std::to_string(most) + ", not \"" + text + "\"");
    }
    return number;
}

bool Options::TakeFlag(const std::string& key, bool otherwise) {
    const std::string text = Lower(Take(key, otherwise ? "1" : "0"));
    if (text == "1" || text == "true" || text == "on" || text == "yes") {
        return true;
    }
    if (text != "0" && text != "false" && text != "off" && text != "no") {
        Refuse("the option " + key + " takes 1 or 0, not \"" + text + "\"");
    }
    return false;
}

std::chrono::milliseconds Options::TakeStatementTimeout() {
    constexpr std::int64_t kADay = 86400000;
    return std::chrono::milliseconds(TakeNumber("statement_timeout", 0, 0, kADay));
}

PoolLimits Options::TakePoolLimits() {
    PoolLimits limits;
    limits.maxConnections = static_cast<std::size_t>(TakeNumber("pool_size", 8, 1, 1000));
    limits.waitTimeout = std::chrono::seconds(TakeNumber("pool_timeout", 30, 0, 86400));
    limits.idleTime = std::chrono::seconds(TakeNumber("pool_idle", 300, 1, 86400));
    return limits;
}

void Options::RefuseRest() const {
    if (!values_.empty()) {
        Refuse("the option \"" + values_.begin()->first + "\" is not known for this database");
    }
}

}  // namespace CQXDB::adapter
