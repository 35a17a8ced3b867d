// Bytes of a fuzzer's input, taken from the front.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace qxdb_test {

class FuzzInput {
  public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : next_(data), left_(size) {}

    bool Empty() const { return left_ == 0; }
    /// 0 behind the end.
    std::uint8_t Byte() {
        if (left_ == 0) {
            return 0;
        }
        --left_;
        return *next_++;
    }
    /// As many of `count` bytes as are left.
    std::string Bytes(std::size_t count) {
        count = count < left_ ? count : left_;
        const std::string bytes(reinterpret_cast<const char*>(next_), count);
        next_ += count;
        left_ -= count;
        return bytes;
    }
    std::string Rest() { return Bytes(left_); }

  private:
    const std::uint8_t* next_;
    std::size_t left_;
};

/// Reports a broken promise as a crash, which is what a fuzzer looks for.
inline void Require(bool promise, const char* what) {
    if (!promise) {
        std::fprintf(stderr, "broken promise: %s\n", what);
        std::abort();
    }
}

}  // namespace qxdb_test

/// Defined by each target: one input, whatever it holds.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
