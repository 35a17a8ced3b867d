// Words that tell what a statement does, in capitals or not.
#pragma once

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "util/ascii.h"

namespace CQXBASE {

inline bool IsOneOf(std::string_view word, std::initializer_list<std::string_view> words) noexcept {
    return std::any_of(words.begin(), words.end(),
                       [word](std::string_view other) { return SameAsciiWord(word, other); });
}

/// True for a word that no statement holds that only reads, outside of quotes.
inline bool ChangesData(std::string_view word) noexcept {
    return IsOneOf(word, {"INSERT", "UPDATE", "DELETE", "MERGE", "REPLACE", "INTO"});
}

}  // namespace CQXBASE
