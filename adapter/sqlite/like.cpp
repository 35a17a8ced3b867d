#include "adapter/sqlite/like.h"

#include <cstdint>
#include <cstring>

#include "adapter/sqlite/own_function.h"
#include "adapter/sqlite/progress.h"
#include "util/ascii.h"

namespace CQXDB::adapter::sqlite {
namespace {

constexpr std::uint32_t kNone = 0xffffffff;  ///< no character

struct Wildcards {
    std::uint32_t all;
    std::uint32_t one;
    std::uint32_t set;
    std::uint32_t escape;
    bool anyCase;
};

/// Ends with a NUL, as SQLite's own texts do.
using Text = const unsigned char*;

bool Continues(unsigned char byte) noexcept {
    return (byte & 0xC0) == 0x80;
}

/// The next character, as SQLite reads it: bytes that are no UTF-8 make characters too. 0, and not
/// a step further, at the end.
std::uint32_t Take(Text& text) noexcept {
    std::uint32_t c = *text;
    if (c < 0x80) {
        text += c == 0 ? 0 : 1;
        return c;
    }
    ++text;
    if (c < 0xC0) {
        return c;
    }
    c = c < 0xE0 ? c & 0x1F : c < 0xF0 ? c & 0x0F : c < 0xF8 ? c & 0x07 : c < 0xFC ? c & 3 : c & 1;
    if (text[-1] >= 0xFE) {
        c = 0;
    }
    while (Continues(*text)) {
        c = (c << 6) + (*text++ & 0x3F);
    }
    const bool invalid = c < 0x80 || (c & 0xFFFFF800) == 0xD800 || (c & 0xFFFFFFFE) == 0xFFFE;
    return invalid ? 0xFFFD : c;
}

bool SameLetter(std::uint32_t a, std::uint32_t b) noexcept {
    return a < 0x80 && b < 0x80 &&
           CQXBASE::LowerAscii(static_cast<char>(a)) == CQXBASE::LowerAscii(static_cast<char>(b));
}

/// Whether the set that `pattern` stands in, behind its bracket, has `c`. Goes behind the set.
bool SetHolds(Text& pattern, std::uint32_t c) noexcept {
    bool seen = false;
    bool inverted = false;
    std::uint32_t prior = 0;
    std::uint32_t next = Take(pattern);
    if (next == '^') {
        inverted = true;
        next = Take(pattern);
    }
    if (next == ']') {
        seen = c == ']';
        next = Take(pattern);
    }
    for (; next != 0 && next != ']'; next = Take(pattern)) {
        if (next == '-' && *pattern != ']' && *pattern != 0 && prior > 0) {
            next = Take(pattern);
            seen = seen || (c >= prior && c <= next);
            prior = 0;
        } else {
            seen = seen || c == next;
            prior = next;
        }
    }
    return next == ']' && seen != inverted;
}

/// Whether the pattern's next element, none for any number of characters, takes the text's next
/// character. Goes behind both.
bool ElementFits(Text& pattern, Text& text, const Wildcards& wildcards) noexcept {
    std::uint32_t wanted = Take(pattern);
    const std::uint32_t c = Take(text);
    if (c == 0) {
        return false;
    }
    if (wanted == wildcards.set) {
        return SetHolds(pattern, c);
    }
    const bool escaped = wanted == wildcards.escape;
    if (escaped) {
        wanted = Take(pattern);
    }
    return wanted == c || (!escaped && wanted == wildcards.one) ||
           (wildcards.anyCase && SameLetter(wanted, c));
}

/// Where a text can begin to match a pattern that begins with a plain ASCII character.
class FirstCharacter {
  public:
    void Set(Text pattern, const Wildcards& wildcards) noexcept {
        const std::uint32_t c = *pattern;
        const bool plain = c < 0x80 && c != wildcards.one && c != wildcards.set &&
                           c != wildcards.escape && c != wildcards.all;
        either_[0] = plain ? static_cast<char>(c) : '\0';
        either_[1] = '\0';
        if (plain && wildcards.anyCase) {
            either_[0] = CQXBASE::UpperAscii(either_[0]);
            either_[1] = CQXBASE::LowerAscii(either_[0]);
        }
    }
    Text Find(Text text) const noexcept {
        return either_[0] == '\0'
                   ? text
                   : text + std::strcspn(reinterpret_cast<const char*>(text), either_);
    }

  private:
    char either_[3] = {};  ///< "" when it may be any
};

enum class Answer { No, Yes, NoTime };

/// Text that an element for any number of characters has taken is given back one character at a
/// time, by the last such element alone: what an earlier one could give back, it can take.
Answer Matches(Text pattern, Text text, const Wildcards& wildcards, Progress& progress) {
    FirstCharacter first;
    Text behindAll = nullptr;  // in the pattern
    Text retry = nullptr;      // in the text
    while (true) {
        Text next = pattern;
        if (*pattern == 0 && *text == 0) {
            return Answer::Yes;
        }
        if (*pattern != 0 && Take(next) == wildcards.all) {
            behindAll = next;
            retry = text;
            if (*next == 0) {
                return Answer::Yes;
            }
            first.Set(next, wildcards);
            retry = first.Find(retry);
            pattern = next;
            text = retry;
            continue;
        }
        if (*pattern != 0 && ElementFits(pattern, text, wildcards)) {
            continue;
        }
        if (behindAll == nullptr || *retry == 0) {
            return Answer::No;
        }
        if (progress.Over(static_cast<std::size_t>(text - retry))) {
            return Answer::NoTime;
        }
        Take(retry);
        retry = first.Find(retry);
        pattern = behindAll;
        text = retry;
    }
}

/// False, with the result told, when there is nothing to compare.
bool ReadEscape(sqlite3_context* context, sqlite3_value* value, Wildcards& wildcards) {
    Text text = sqlite3_value_text(value);
    if (text == nullptr) {
        return false;
    }
    wildcards.escape = Take(text);
    if (wildcards.escape == 0 || *text != 0) {
        sqlite3_result_error(context, "ESCAPE expression must be a single character", -1);
        return false;
    }
    if (wildcards.escape == wildcards.all) {
        wildcards.all = kNone;
    }
    if (wildcards.escape == wildcards.one) {
        wildcards.one = kNone;
    }
    return true;
}

template <bool kGlob>
void Compare(sqlite3_context* context, int count, sqlite3_value** arguments) {
    static const bool blobsNeverMatch = sqlite3_compileoption_used("LIKE_DOESNT_MATCH_BLOBS") != 0;
    const bool blob = sqlite3_value_type(arguments[0]) == SQLITE_BLOB ||
                      sqlite3_value_type(arguments[1]) == SQLITE_BLOB;
    if (blob && blobsNeverMatch) {
        sqlite3_result_int(context, 0);
        return;
    }
    const int most =
        sqlite3_limit(sqlite3_context_db_handle(context), SQLITE_LIMIT_LIKE_PATTERN_LENGTH, -1);
    if (sqlite3_value_bytes(arguments[0]) > most) {
        sqlite3_result_error(context, "LIKE or GLOB pattern too complex", -1);
        return;
    }
    Wildcards wildcards =
        kGlob ? Wildcards{'*', '?', '[', kNone, false} : Wildcards{'%', '_', kNone, kNone, true};
    if (count == 3 && !ReadEscape(context, arguments[2], wildcards)) {
        return;
    }
    const Text pattern = sqlite3_value_text(arguments[0]);
    const Text text = sqlite3_value_text(arguments[1]);
    if (pattern == nullptr || text == nullptr) {
        return;
    }
    Progress progress(context);
    const Answer answer = Matches(pattern, text, wildcards, progress);
    if (answer == Answer::NoTime) {
        Interrupt(context);
    } else {
        sqlite3_result_int(context, answer == Answer::Yes ? 1 : 0);
    }
}

constexpr OwnFunction kFunctions[] = {
    {"like", 2, Compare<false>}, {"like", 3, Compare<false>}, {"glob", 2, Compare<true>}};

}  // namespace

void ReplaceLike(SqliteSession& session) {
    ReplaceFunctions(session, kFunctions);
}

}  // namespace CQXDB::adapter::sqlite
