#include "adapter/sqlite/slow_functions.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include "adapter/sqlite/own_function.h"
#include "adapter/sqlite/progress.h"

namespace CQXDB::adapter::sqlite {
namespace {

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

constexpr OwnFunction kFunctions[] = {
    {"instr", 2, Instr},        {"replace", 3, Replace},    {"trim", 1, Trim<kBoth>},
    {"trim", 2, Trim<kBoth>},   {"ltrim", 1, Trim<kLeft>},  {"ltrim", 2, Trim<kLeft>},
    {"rtrim", 1, Trim<kRight>}, {"rtrim", 2, Trim<kRight>},
};

}  // namespace

void ReplaceSlowFunctions(SqliteSession& session) {
    ReplaceFunctions(session, kFunctions);
}

}  // namespace CQXDB::adapter::sqlite
