// A text read piece by piece.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "util/ascii.h"

namespace CQXDB {

/// Takes a text apart from its front. A call that returns false takes nothing.
class TextScanner {
  public:
    explicit TextScanner(std::string_view text) noexcept : rest_(text) {}

    bool AtEnd() const noexcept { return rest_.empty(); }
    bool Take(char c) noexcept {
        const bool found = !rest_.empty() && rest_.front() == c;
        rest_.remove_prefix(found ? 1 : 0);
        return found;
    }
    /// A number of `least` to `most` digits.
    bool TakeNumber(std::size_t least, std::size_t most, std::int64_t& value) noexcept {
        std::size_t digits = 0;
        std::int64_t read = 0;
        while (digits < rest_.size() && digits < most && CQXBASE::IsAsciiDigit(rest_[digits])) {
            read = read * 10 + (rest_[digits++] - '0');
        }
        if (digits < least) {
            return false;
        }
        rest_.remove_prefix(digits);
        value = read;
        return true;
    }
    /// The digits behind a decimal point, at least one, as a number of `digits` digits: missing
    /// ones are 0, further ones are taken and cut off.
    bool TakeFraction(std::size_t digits, std::int64_t& value) noexcept {
        std::size_t taken = 0;
        std::int64_t read = 0;
        for (; !rest_.empty() && CQXBASE::IsAsciiDigit(rest_.front()); ++taken) {
            read = taken < digits ? read * 10 + (rest_.front() - '0') : read;
            rest_.remove_prefix(1);
        }
        for (std::size_t i = taken; i < digits; ++i) {
            read *= 10;
        }
        value = read;
        return taken != 0;
    }

  private:
    std::string_view rest_;
};

}  // namespace CQXDB
