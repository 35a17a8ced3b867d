// What commands and parameters take in memory, for the budget of the blocks that they travel in.
#pragma once

#include <cstddef>

namespace CQXDB::encoding {

// Wire values: both sides charge the same.
constexpr std::size_t kCommandWeight = 128;
constexpr std::size_t kParamWeight = 64;

}  // namespace CQXDB::encoding
