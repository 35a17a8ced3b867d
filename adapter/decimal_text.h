// Numbers as exact decimal text.
#pragma once

#include <cstdint>
#include <string>

namespace CQXDB::adapter {

/// With `scale` zeros after the point.
std::string DecimalOf(std::int64_t number, int scale);
/// The shortest text that reads back as the same double, without an exponent, filled up with zeros
/// to `scale` digits after the point. "" for an infinity or NaN.
std::string DecimalOf(double number, int scale);

}  // namespace CQXDB::adapter
