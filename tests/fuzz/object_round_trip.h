// What every object that travels promises about bytes from a stranger.
#pragma once

#include <string>

#include <ace/CDR_Stream.h>

#include <qxdb/QXIOBase.h>

#include "tests/fuzz/fuzz_input.h"

namespace qxdb_test {

inline std::string EncodeWithinEstimate(CQXBASE::QXIOBase& object) {
    const std::size_t estimate = object.size();
    ACE_OutputCDR out(estimate, ACE_CDR::BYTE_ORDER_NATIVE);
    Require(object.toCDR(out) != 0, "an object that was read can be written");
    Require(out.total_length() <= estimate, "toCDR stays within size()");
    return {out.buffer(), out.length()};
}

/// Reads `object` from the bytes. When they are taken, it must be writable within its estimate, and
/// `again`, read from what it wrote, must write the same.
inline void CheckObject(const std::string& bytes, int byteOrder, CQXBASE::QXIOBase& object,
                        CQXBASE::QXIOBase& again) {
    ACE_InputCDR in(bytes.data(), bytes.size(), byteOrder, 1, 2);
    if (object.fromCDR(in) == 0) {
        return;
    }
    const std::string written = EncodeWithinEstimate(object);
    ACE_InputCDR back(written.data(), written.size(), ACE_CDR::BYTE_ORDER_NATIVE, 1, 2);
    Require(again.fromCDR(back) != 0, "what was written can be read");
    Require(EncodeWithinEstimate(again) == written, "it is still the same object");
}

}  // namespace qxdb_test
