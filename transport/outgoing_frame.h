// The memory of one frame while it is sent.
#pragma once

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

  private:
    std::size_t size_;

  public:
    ACE_OutputCDR body;
    ACE_OutputCDR header;
    std::string cipherText;
};

}  // namespace CQXBASE
