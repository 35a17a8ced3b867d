// All or nothing when an object is read.
#pragma once

namespace CQXDB::encoding {

/// Gives what `read` gives, after `clear` when that is 0; `clear` also runs when `read` throws.
template <typename Read, typename Clear>
int ReadWhole(const Read& read, const Clear& clear) {
    int whole = 0;
    try {
        whole = read();
    } catch (...) {
        clear();
        throw;
    }
    if (whole == 0) {
        clear();
    }
    return whole;
}

}  // namespace CQXDB::encoding
