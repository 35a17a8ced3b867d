// What the requests' seeds and their target agree on.
#pragma once

#include <string>

namespace qxdb_test {

/// Stands in a seed where the session's token, which differs from run to run, belongs.
inline const std::string kSeedToken(32, 'T');

/// ASCII as UTF-16, little-endian.
inline std::string Utf16(const std::string& ascii) {
    std::string units;
    for (const char character : ascii) {
        units += {character, '\0'};
    }
    return units;
}

}  // namespace qxdb_test
