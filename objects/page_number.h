// Page sizes and page numbers as they are kept and travel.
#pragma once

#include <cstdint>

namespace CQXDB {

/// A number beyond 32 bits becomes -1, which every query refuses; cut, it would be another page.
constexpr std::int32_t PageNumber(long number) noexcept {
    const auto kept = static_cast<std::int32_t>(number);
    return kept == number ? kept : -1;
}

}  // namespace CQXDB
