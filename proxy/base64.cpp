#include "proxy/base64.h"

#include <array>
#include <cstdint>

namespace CQXBASE {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr int kLineLength = 76;

constexpr std::array<std::uint8_t, 'z' + 1> MakeValues() {
    std::array<std::uint8_t, 'z' + 1> values{};
    for (std::uint8_t value = 0; value < 64; ++value) {
        values[static_cast<unsigned char>(kAlphabet[value])] = value;
    }
    return values;
}
constexpr auto kValues = MakeValues();

unsigned ValueOf(char character) {
    const auto index = static_cast<unsigned char>(character);
    return index < kValues.size() ? kValues[index] : 0U;
}

char Digit(unsigned bits) {
    return kAlphabet[bits & 0x3F];
}

void EncodeGroup(const unsigned char* in, std::string& out) {
    const unsigned bits = unsigned{in[0]} << 16 | unsigned{in[1]} << 8 | in[2];
    out += {Digit(bits >> 18), Digit(bits >> 12), Digit(bits >> 6), Digit(bits)};
}

void EncodeRest(const unsigned char* in, int count, std::string& out) {
    const unsigned bits = unsigned{in[0]} << 16 | (count == 2 ? unsigned{in[1]} << 8 : 0U);
    out += {Digit(bits >> 18), Digit(bits >> 12), count == 2 ? Digit(bits >> 6) : '=', '='};
}

/// Hands out the text's characters, and padding for ever behind its end.
class Reader {
  public:
    Reader(const char* text, int length) : next_(text), end_(text + length) {}
    char Peek() const { return next_ < end_ ? *next_ : '='; }
    char Take() {
        const char character = Peek();
        next_ += next_ < end_ ? 1 : 0;
        return character;
    }

  private:
    const char* next_;
    const char* end_;
};

void DecodeGroup(Reader& in, std::string& out) {
    unsigned bits = ValueOf(in.Take()) << 18;
    bits |= ValueOf(in.Take()) << 12;
    out += static_cast<char>(bits >> 16 & 0xFF);
    if (in.Peek() == '=') {
        return;
    }
    bits |= ValueOf(in.Take()) << 6;
    out += static_cast<char>(bits >> 8 & 0xFF);
    if (in.Peek() == '=') {
        return;
    }
    bits |= ValueOf(in.Take());
    out += static_cast<char>(bits & 0xFF);
}

}  // namespace

std::string Base64Encode(const unsigned char* bytes, int length) {
    std::string out;
    int lineLength = 0;
    for (; length >= 3; length -= 3, bytes += 3) {
        EncodeGroup(bytes, out);
        lineLength += 4;
        if (lineLength == kLineLength) {
            out += "\r\n";
            lineLength = 0;
        }
    }
    if (length > 0) {
        EncodeRest(bytes, length, out);
    }
    return out;
}

std::string Base64Decode(const char* text, int length, int& outLength) {
    std::string out;
    Reader in(text, length < 0 ? 0 : length);
    for (std::int64_t count = 0; count < length;) {
        const bool lineBreak = in.Peek() == '\r' || in.Peek() == '\n';
        if (lineBreak) {
            in.Take();
        } else {
            DecodeGroup(in, out);
        }
        count += lineBreak ? 1 : 4;
    }
    outLength += static_cast<int>(out.size());
    return out;
}

}  // namespace CQXBASE
