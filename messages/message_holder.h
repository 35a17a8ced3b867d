// Turns a received code and body into an object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <qxdb/QXIOBase.h>

#include "messages/type_codes.h"

class ACE_Message_Block;

namespace CQXBASE {

namespace encoding {
class BoundedInput;
class DecodeMemory;
}  // namespace encoding

struct ReplyDetails;

/// The bytes that came with a code, as the transport hands them over. Borrowed: they outlive the
/// call that decodes them.
class ReceivedBody {
  public:
    /// `length` bytes of little-endian CDR (a deciphered body).
    static ReceivedBody Raw(const void* bytes, std::size_t length) { return {bytes, length, true}; }
    /// One block that holds a whole frame, its read position at the frame's first byte; the body is
    /// in the byte order that the frame names.
    static ReceivedBody Frame(const ACE_Message_Block& block) { return {&block, 0, false}; }
    /// What QXIO::Syc_receive_data delivers: raw bytes when the frame was enciphered, else the
    /// address of its receive block.
    static ReceivedBody Of(const char* data, std::size_t length, bool enciphered) {
        return {data, length, enciphered};
    }

  private:
    friend class MessageHolder;
    ReceivedBody(const void* newData, std::size_t newLength, bool newRaw)
        : data(newData), length(newLength), raw(newRaw) {}

    const void* data;
    std::size_t length;
    bool raw;
};

class MessageHolder {
  public:
    enum class State {
        Good,
        UnknownCode,     ///< no record belongs to the code; nothing was decoded
        UnexpectedBody,  ///< the reply's record is not the one the request asks for; nothing was
                         ///< decoded
        Undecodable,     ///< the bytes are not what the code promises
        TooLarge,        ///< the reply takes more memory than allowed; the caller's object is empty
    };

    /// Decodes a request, as the server reads it. Whether the code is a request at all is
    /// IsRequest's to say. `memory`, if any, is asked for what the body expands to.
    static MessageHolder Request(std::uint32_t code, const ReceivedBody& body,
                                 encoding::DecodeMemory* memory = nullptr);

    /// Decodes the reply to a request of `requestCode`. An error reply is always welcome. `result`
    /// is null or the caller's object, which takes the decoded contents: a CQXDB::QXRecordset for a
    /// request that is answered by a recordset, a CQXDB::QXRsList for one answered by a result
    /// list; with other requests it is not looked at. It stays the caller's. `mostBytes` bounds the
    /// memory that the decoded object and the decompression of its columns take, apart from the
    /// body; 0 doesn't. `details`, unless null, takes what stands behind a good record.
    static MessageHolder Reply(std::uint32_t requestCode, std::uint32_t replyCode,
                               const ReceivedBody& body, void* result, std::uint64_t mostBytes = 0,
                               ReplyDetails* details = nullptr);

    State GetState() const noexcept { return state_; }
    std::uint32_t Code() const noexcept { return code_; }  ///< as received, or kUnknownCode
    std::uint32_t ReceivedCode() const noexcept { return receivedCode_; }

    /// The decoded object, the caller's or the holder's own; null unless Good. The holder's own
    /// lives as long as the holder.
    QXIOBase* Object() const noexcept { return state_ == State::Good ? object_ : nullptr; }
    /// The same as a T; null when it is no T.
    template <class T>
    T* As() const noexcept {
        return dynamic_cast<T*>(Object());
    }

  private:
    explicit MessageHolder(std::uint32_t code) noexcept : code_(code), receivedCode_(code) {}
    void Create(BodyClass body, QXIOBase* callers);
    void Decode(const ReceivedBody& body);
    void DecodeRaw(const void* bytes, std::size_t length);
    void DecodeFrame(const ACE_Message_Block& block);
    void DecodeFrom(encoding::BoundedInput& in);

    std::uint32_t code_;
    std::uint32_t receivedCode_;
    std::unique_ptr<QXIOBase> owned_;
    encoding::DecodeMemory* memory_ = nullptr;  ///< borrowed, for decoding alone
    ReplyDetails* details_ = nullptr;           ///< likewise
    QXIOBase* object_ = nullptr;                ///< owned_'s, or the caller's
    bool mayBeEmpty_ = false;
    State state_ = State::UnknownCode;
};

}  // namespace CQXBASE
