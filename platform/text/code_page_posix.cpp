#include <algorithm>
#include <cerrno>
#include <cstring>
#include <cwchar>
#include <iconv.h>
#include <iterator>

#include "platform/text/code_page.h"

namespace CQXBASE::platform::text {
namespace {

struct NamedCodePage {
    unsigned number;
    const char* name;
};

// iconv knows no such name. (An empty name would mean the locale's encoding.)
constexpr const char* kNone = "none";

// Code pages whose iconv name is not "CP" and the number.
constexpr NamedCodePage kNamedCodePages[] = {
    {950, "BIG5"},     {1200, kNone},     {1201, kNone},       {10000, "MACINTOSH"},
    {12000, kNone},    {12001, kNone},    {20127, "US-ASCII"}, {20866, "KOI8-R"},
    {20932, "EUC-JP"}, {20936, "GB2312"}, {21866, "KOI8-U"},   {50220, "ISO-2022-JP"},
    {51932, "EUC-JP"}, {51936, "GB2312"}, {51949, "EUC-KR"},   {54936, "GB18030"},
    {65000, "UTF-7"},
};

std::string IconvName(unsigned codePage) {
    const auto* named =
        std::find_if(std::begin(kNamedCodePages), std::end(kNamedCodePages),
                     [codePage](const NamedCodePage& row) { return row.number == codePage; });
    if (named != std::end(kNamedCodePages)) {
        return named->name;
    }
    if (codePage > 28590 && codePage < 28607) {
        return "ISO-8859-" + std::to_string(codePage - 28590);
    }
    return "CP" + std::to_string(codePage);
}

class Converter {
  public:
    Converter(const char* to, const char* from) : handle_(iconv_open(to, from)) {}
    ~Converter() {
        if (valid()) {
            iconv_close(handle_);
        }
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool valid() const { return handle_ != Invalid(); }

    /// Converts from `in` on, appending to `out`; stops at input that can't be converted (false).
    bool Run(char*& in, std::size_t& inLeft, std::string& out) {
        for (;;) {
            char chunk[1024];
            char* to = chunk;
            std::size_t room = sizeof chunk;
            const bool done =
                iconv(handle_, &in, &inLeft, &to, &room) != static_cast<std::size_t>(-1);
            const int reason = done ? 0 : errno;
            out.append(chunk, static_cast<std::size_t>(to - chunk));
            if (reason != E2BIG) {
                return done;
            }
        }
    }

    /// Returns a stateful encoding to its initial state.
    void Finish(std::string& out) {
        char chunk[64];
        char* to = chunk;
        std::size_t room = sizeof chunk;
        iconv(handle_, nullptr, nullptr, &to, &room);
        out.append(chunk, static_cast<std::size_t>(to - chunk));
    }

  private:
    static iconv_t Invalid() {
        return reinterpret_cast<iconv_t>(-1);  // NOLINT(performance-no-int-to-ptr): iconv's own
    }

    iconv_t handle_;
};

void AppendWide(std::string& bytes, wchar_t unit) {
    bytes.append(reinterpret_cast<const char*>(&unit), sizeof unit);
}

}  // namespace

bool NeedsUtf8Codec(unsigned codePage) noexcept {
    return codePage == 0 || codePage == 65001;
}

std::wstring Widen(const char* text, unsigned codePage) {
    Converter converter("WCHAR_T", IconvName(codePage).c_str());
    if (!converter.valid()) {
        return {};
    }
    std::string input(text);
    std::string bytes;
    char* in = input.data();
    std::size_t left = input.size();
    while (!converter.Run(in, left, bytes)) {
        AppendWide(bytes, L'\uFFFD');
        ++in;
        --left;
    }
    std::wstring wide(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(wide.data(), bytes.data(), wide.size() * sizeof(wchar_t));
    return wide;
}

std::string Narrow(const wchar_t* text, unsigned codePage) {
    Converter converter(IconvName(codePage).c_str(), "WCHAR_T");
    if (!converter.valid()) {
        return {};
    }
    std::wstring input(text);
    std::string narrow;
    char* in = reinterpret_cast<char*>(input.data());
    std::size_t left = input.size() * sizeof(wchar_t);
    while (!converter.Run(in, left, narrow)) {
        constexpr wchar_t replacement = L'?';
        std::memcpy(in, &replacement, sizeof replacement);
    }
    converter.Finish(narrow);
    return narrow;
}

}  // namespace CQXBASE::platform::text
