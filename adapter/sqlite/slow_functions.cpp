#include "adapter/sqlite/slow_functions.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "adapter/sqlite/errors.h"
#include "util/ascii.h"

namespace CQXDB::adapter::sqlite {
namespace {

constexpr std::size_t kBytesBetweenLooks = std::size_t{1} << 20;  ///< a fraction of a millisecond

/// Looks at the session's timer now and then.
class Progress {
  public:
    explicit Progress(sqlite3_context* context)
        : timer_(static_cast<SqliteSession*>(sqlite3_user_data(context))->timer) {}

    /// `bytes` are going to be compared; true when there is no time left for that.
    bool Over(std::size_t bytes) noexcept {
        done_ += bytes + 1;
        if (done_ < kBytesBetweenLooks) {
            return false;
        }
        done_ = 0;
        return timer_.Over();
    }

  private:
    SqliteTimer& timer_;
    std::size_t done_ = 0;
};

void Interrupt(sqlite3_context* context) {
    sqlite3_result_error_code(context, SQLITE_INTERRUPT);
}

bool IsNull(sqlite3_value* value) {
    return sqlite3_value_type(value) == SQLITE_NULL;
}

bool IsBlob(sqlite3_value* value) {
    return sqlite3_value_type(value) == SQLITE_BLOB;
}

/// False when there is no memory for the conversion, which is told as the result.
bool Text(sqlite3_context* context, sqlite3_value* value, std::string_view& text) {
    const auto* const bytes = reinterpret_cast<const char*>(sqlite3_value_text(value));
    if (bytes == nullptr) {
        sqlite3_result_error_nomem(context);
        return false;
    }
    text = {bytes, static_cast<std::size_t>(sqlite3_value_bytes(value))};
    return true;
}

bool Blob(sqlite3_value* value, std::string_view& bytes) {
    const auto* const begin = static_cast<const char*>(sqlite3_value_blob(value));
    bytes = {begin != nullptr ? begin : "", static_cast<std::size_t>(sqlite3_value_bytes(value))};
    return true;
}

bool ContinuesCharacter(char c) noexcept {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

/// The bytes of the character that `text` begins with.
std::size_t CharacterLength(std::string_view text) noexcept {
    std::size_t length = 1;
    if (static_cast<unsigned char>(text.front()) >= 0xC0) {
        while (length < text.size() && ContinuesCharacter(text[length])) {
            ++length;
        }
    }
    return length;
}

bool BeginsWith(std::string_view text, std::string_view with) noexcept {
    return text.size() >= with.size() && text.front() == with.front() &&
           std::memcmp(text.data(), with.data(), with.size()) == 0;
}

/// Counts in bytes when both are blobs, and else in characters.
void Instr(sqlite3_context* context, int, sqlite3_value** arguments) {
    if (IsNull(arguments[0]) || IsNull(arguments[1])) {
        return;
    }
    const bool bytes = IsBlob(arguments[0]) && IsBlob(arguments[1]);
    std::string_view text;
    std::string_view wanted;
    if (bytes ? !Blob(arguments[0], text) || !Blob(arguments[1], wanted)
              : !Text(context, arguments[0], text) || !Text(context, arguments[1], wanted)) {
        return;
    }
    Progress progress(context);
    int place = 1;
    for (; !wanted.empty() && !BeginsWith(text, wanted); ++place) {
        if (wanted.size() >= text.size()) {
            place = 0;
            break;
        }
        if (progress.Over(text.front() == wanted.front() ? wanted.size() : 1)) {
            Interrupt(context);
            return;
        }
        do {
            text.remove_prefix(1);
        } while (!bytes && !text.empty() && ContinuesCharacter(text.front()));
    }
    sqlite3_result_int(context, place);
}

struct Free {
    void operator()(char* bytes) const { sqlite3_free(bytes); }
};

/// A text that grows in SQLite's memory.
class Output {
  public:
    explicit Output(sqlite3_context* context)
        : context_(context),
          most_(static_cast<std::size_t>(
              sqlite3_limit(sqlite3_context_db_handle(context), SQLITE_LIMIT_LENGTH, -1))) {}

    bool Append(std::string_view text) {
        if (text.size() > most_ - size_) {
            sqlite3_result_error_toobig(context_);
            return false;
        }
        if (size_ + text.size() > room_ && !Grow(size_ + text.size())) {
            sqlite3_result_error_nomem(context_);
            return false;
        }
        std::copy(text.begin(), text.end(), bytes_.get() + size_);
        size_ += text.size();
        return true;
    }
    void Give() {
        sqlite3_result_text64(context_, size_ == 0 ? "" : bytes_.get(), size_, SQLITE_TRANSIENT,
                              SQLITE_UTF8);
    }

  private:
    bool Grow(std::size_t needed) {
        const std::size_t room = std::max(needed, std::min(most_, 2 * room_));
        auto* const moved =
            static_cast<char*>(sqlite3_realloc64(bytes_.get(), static_cast<sqlite3_uint64>(room)));
        if (moved == nullptr) {
            return false;
        }
        static_cast<void>(bytes_.release());
        bytes_.reset(moved);
        room_ = room;
        return true;
    }

    sqlite3_context* const context_;
    const std::size_t most_;
    std::unique_ptr<char, Free> bytes_;
    std::size_t size_ = 0;
    std::size_t room_ = 0;
};

void Replace(sqlite3_context* context, int, sqlite3_value** arguments) {
    if (IsNull(arguments[0]) || IsNull(arguments[1])) {
        return;
    }
    std::string_view text;
    std::string_view wanted;
    std::string_view instead;
    if (!Text(context, arguments[0], text) || !Text(context, arguments[1], wanted)) {
        return;
    }
    if (wanted.empty() || wanted.front() == '\0') {
        sqlite3_result_value(context, arguments[0]);
        return;
    }
    if (IsNull(arguments[2]) || !Text(context, arguments[2], instead)) {
        return;
    }
    Progress progress(context);
    Output output(context);
    std::size_t kept = 0;  // from where on text is to be copied as it is
    for (std::size_t at = 0; at + wanted.size() <= text.size();) {
        if (progress.Over(text[at] == wanted.front() ? wanted.size() : 1)) {
            Interrupt(context);
            return;
        }
        if (!BeginsWith(text.substr(at), wanted)) {
            ++at;
            continue;
        }
        if (!output.Append(text.substr(kept, at - kept)) || !output.Append(instead)) {
            return;
        }
        at += wanted.size();
        kept = at;
    }
    if (output.Append(text.substr(kept))) {
        output.Give();
    }
}

enum Side { kLeft = 1, kRight = 2, kBoth = 3 };

bool EndsWith(std::string_view text, std::string_view with) noexcept {
    return text.size() >= with.size() && text.substr(text.size() - with.size()) == with;
}

/// The first character of `set`, in its order, that `text` has on that side; "" when there is none.
std::string_view FirstThatFits(std::string_view set, std::string_view text, Side side) noexcept {
    while (!set.empty()) {
        const std::string_view character = set.substr(0, CharacterLength(set));
        if (side == kLeft ? BeginsWith(text, character) : EndsWith(text, character)) {
            return character;
        }
        set.remove_prefix(character.size());
    }
    return {};
}

template <Side kSide>
void Trim(sqlite3_context* context, int count, sqlite3_value** arguments) {
    if (IsNull(arguments[0]) || (count == 2 && IsNull(arguments[1]))) {
        return;
    }
    std::string_view text;
    std::string_view set = " ";
    if (!Text(context, arguments[0], text) || (count == 2 && !Text(context, arguments[1], set))) {
        return;
    }
    Progress progress(context);
    for (const Side side : {kLeft, kRight}) {
        while ((kSide & side) != 0 && !text.empty()) {
            if (progress.Over(set.size())) {
                Interrupt(context);
                return;
            }
            const std::string_view found = FirstThatFits(set, text, side);
            if (found.empty()) {
                break;
            }
            side == kLeft ? text.remove_prefix(found.size()) : text.remove_suffix(found.size());
        }
    }
    sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

/// How often %c may be told to repeat its character; SQLite does so one by one, whatever the limit
/// on a text's length.
constexpr long kMostRepeated = 10000;

/// The precision at the beginning of `format`, which it is cut off of; beyond every limit for one
/// that an argument tells.
long TakePrecision(std::string_view& format) {
    long precision = 0;
    for (; !format.empty() && (CQXBASE::IsAsciiDigit(format.front()) || format.front() == '*');
         format.remove_prefix(1)) {
        precision = format.front() == '*'
                        ? kMostRepeated + 1
                        : std::min(10 * precision + format.front() - '0', kMostRepeated + 1);
    }
    return precision;
}

bool RepeatsWithoutEnd(std::string_view format) {
    while (true) {
        const std::size_t percent = format.find('%');
        if (percent == std::string_view::npos) {
            return false;
        }
        format.remove_prefix(percent + 1);
        long precision = 0;
        format.remove_prefix(
            std::min(format.find_first_not_of("-+ #0,!123456789*"), format.size()));
        if (!format.empty() && format.front() == '.') {
            format.remove_prefix(1);
            precision = TakePrecision(format);
        }
        format.remove_prefix(std::min(format.find_first_not_of('l'), format.size()));
        if (!format.empty() && format.front() == 'c' && precision > kMostRepeated) {
            return true;
        }
        format.remove_prefix(std::min<std::size_t>(1, format.size()));
    }
}

/// SQLite's own, which has no other way to be called, on a connection beside this one.
int CallOwnFormat(SqliteSession& session, sqlite3_context* context, int count,
                  sqlite3_value** arguments) {
    if (session.beside == nullptr) {
        sqlite3* opened = nullptr;
        const int code = sqlite3_open(":memory:", &opened);
        session.beside.reset(opened);
        if (code != SQLITE_OK) {
            return code;
        }
        sqlite3_limit(opened, SQLITE_LIMIT_LENGTH,
                      sqlite3_limit(session.db, SQLITE_LIMIT_LENGTH, -1));
    }
    std::string text = "SELECT printf(?";
    for (int i = 1; i < count; ++i) {
        text += ",?";
    }
    sqlite3_stmt* statement = nullptr;
    int code =
        sqlite3_prepare_v2(session.beside.get(), (text + ")").c_str(), -1, &statement, nullptr);
    for (int i = 0; i < count && code == SQLITE_OK; ++i) {
        code = sqlite3_bind_value(statement, i + 1, arguments[i]);
    }
    code = code == SQLITE_OK ? sqlite3_step(statement) : code;
    if (code == SQLITE_ROW) {
        sqlite3_result_value(context, sqlite3_column_value(statement, 0));
    }
    sqlite3_finalize(statement);
    return code;
}

void Format(sqlite3_context* context, int count, sqlite3_value** arguments) {
    if (count == 0 || IsNull(arguments[0])) {
        return;
    }
    std::string_view format;
    if (!Text(context, arguments[0], format)) {
        return;
    }
    if (RepeatsWithoutEnd(format)) {
        sqlite3_result_error_toobig(context);
        return;
    }
    int code = SQLITE_NOMEM;
    try {
        auto& session = *static_cast<SqliteSession*>(sqlite3_user_data(context));
        code = CallOwnFormat(session, context, count, arguments);
    } catch (const std::bad_alloc&) {
    }
    if (code != SQLITE_ROW) {
        sqlite3_result_error_code(context, code);
    }
}

struct Function {
    const char* name;
    int arguments;
    void (*call)(sqlite3_context*, int, sqlite3_value**);
};

constexpr Function kFunctions[] = {
    {"instr", 2, Instr},        {"replace", 3, Replace},    {"trim", 1, Trim<kBoth>},
    {"trim", 2, Trim<kBoth>},   {"ltrim", 1, Trim<kLeft>},  {"ltrim", 2, Trim<kLeft>},
    {"rtrim", 1, Trim<kRight>}, {"rtrim", 2, Trim<kRight>}, {"printf", -1, Format},
    {"format", -1, Format},
};

}  // namespace

void ReplaceSlowFunctions(SqliteSession& session) {
    constexpr int kFlags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
    for (const Function& each : kFunctions) {
        CheckSqlite(session.db,
                    sqlite3_create_function_v2(session.db, each.name, each.arguments, kFlags,
                                               &session, each.call, nullptr, nullptr, nullptr));
    }
}

}  // namespace CQXDB::adapter::sqlite
