#include "tests/messages/cdr_bytes.h"

#include <cstring>
#include <memory>

#include <gtest/gtest.h>

std::string Encode(CQXBASE::QXIOBase& object) {
    // What the buffer held before must not show through as padding.
    const auto dirty = std::make_unique<double[]>(4096);
    std::memset(dirty.get(), 0xEE, 4096 * sizeof(double));
    ACE_OutputCDR out(reinterpret_cast<char*>(dirty.get()), 4096 * sizeof(double), kLittleEndian);
    EXPECT_EQ(1, object.toCDR(out));
    EXPECT_LE(out.total_length(), object.size());
    EXPECT_EQ(nullptr, out.begin()->cont()) << "one run of bytes";
    return {out.buffer(), out.length()};
}

int Decode(std::string_view bytes, CQXBASE::QXIOBase& object, int byteOrder) {
    // A buffer of exactly this length, so that a sanitizer sees every byte read beyond it.
    const auto exact = std::make_unique<char[]>(bytes.size());
    std::memcpy(exact.get(), bytes.data(), bytes.size());
    ACE_InputCDR in(exact.get(), bytes.size(), byteOrder, 1, 2);
    return object.fromCDR(in);
}
