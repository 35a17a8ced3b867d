// Where a test must expect what the platform does, and not what the library does.
#pragma once

#include <filesystem>

namespace qxdb_test {

constexpr bool kOnWindows = std::filesystem::path::preferred_separator == '\\';

}  // namespace qxdb_test
