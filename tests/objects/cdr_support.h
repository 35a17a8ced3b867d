// Round trips through CDR streams, and what a hostile peer may make of an encoding.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include <ace/CDR_Stream.h>
#include <gtest/gtest.h>

namespace qxdb_test {

inline std::string BytesOf(const ACE_OutputCDR& out) {
    std::string bytes;
    for (const ACE_Message_Block* block = out.begin(); block != nullptr; block = block->cont()) {
        bytes.append(block->rd_ptr(), block->length());
    }
    return bytes;
}

/// The encoding of `object`, checked against its size().
template <class T>
std::string Encode(T& object) {
    const std::size_t bound = object.size();
    ACE_OutputCDR out(bound);
    EXPECT_EQ(object.toCDR(out), 1);
    EXPECT_LE(out.total_length(), bound);
    return BytesOf(out);
}

/// An input stream over a copy of `bytes` that is aligned as a message is, and ends where its
/// allocation ends, so that a sanitizer sees a read past it.
class Input {
  public:
    explicit Input(std::string_view bytes, int byteOrder = ACE_CDR_BYTE_ORDER)
        : copy_(new char[bytes.size()]), stream_(copy_.get(), bytes.size(), byteOrder) {
        std::copy(bytes.begin(), bytes.end(), copy_.get());
    }
    ACE_InputCDR& Stream() { return stream_; }

  private:
    std::unique_ptr<char[]> copy_;
    ACE_InputCDR stream_;
};

template <class T>
bool Decode(std::string_view bytes, T& object) {
    Input input(bytes);
    const int result = object.fromCDR(input.Stream());
    EXPECT_EQ(result != 0, input.Stream().good_bit());
    return result != 0;
}

}  // namespace qxdb_test
