// The memory of one frame while it is sent.
#pragma once

#include <array>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>

#include <ace/CDR_Stream.h>

#include <qxdb/QXIOBase.h>

namespace CQXBASE {

/// Holds an object's encoding, the frame's header and, once enciphered, the body's ciphertext. The
/// send vector of the transport points into it, so it lives until the frame is written.
class OutgoingFrame {
  public:
    /// Encodes `object`. Throws std::bad_alloc, and QX_Exception when the encoding fails.
    explicit OutgoingFrame(QXIOBase& object);
    OutgoingFrame(const OutgoingFrame&) = delete;
    OutgoingFrame& operator=(const OutgoingFrame&) = delete;

    /// Limit of the body's length, for pipe_before_send: the object's size(), -1 when it is beyond
    /// what the limit can hold.
    int MaxLength() const noexcept;

    ACE_OutputCDR& Body() noexcept { return body_; }
    ACE_OutputCDR& Header() noexcept { return header_; }
    std::string& CipherText() noexcept { return cipherText_; }

  private:
    struct Free {
        void operator()(char* memory) const { std::free(memory); }
    };
    using Memory = std::unique_ptr<char, Free>;
    static Memory Zeroed(std::size_t size);

    std::size_t size_;
    std::size_t capacity_;
    Memory memory_;  ///< of the body, and zero where nothing is written: alignment bytes travel too
    ACE_OutputCDR body_;
    alignas(ACE_CDR::MAX_ALIGNMENT) std::array<char, 32> headerMemory_{};
    ACE_OutputCDR header_;
    std::string cipherText_;
};

}  // namespace CQXBASE
