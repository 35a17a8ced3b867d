// A reply on its way to a client.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include <qxdb/QXIOBase.h>

#include "messages/reply_details.h"
#include "server/byte_budget.h"
#include "server/network/reply_body.h"
#include "server/server_error.h"
#include "transport/frame.h"
#include "transport/frame_cipher.h"

namespace CQXSERVER::network {

struct ReplyFrame {
    CQXBASE::FrameHeaderBytes header;
    std::string body;
    ByteLease lease;                      ///< for the body
    std::unique_ptr<ReplyBody> streamed;  ///< in place of `body`, for a large one

    std::size_t Size() const noexcept {
        return header.size() + (streamed ? streamed->Size() : body.size());
    }
};

/// Makes the replies of all connections. Thread-safe.
class ReplyEncoder {
  public:
    /// The header counts a body's bytes in 32 bits, and receivers add the header to that.
    static constexpr std::size_t kLongestBody =
        std::numeric_limits<std::uint32_t>::max() - CQXBASE::kFrameHeaderSize;
    /// Above every length that std::string keeps inside itself, where it would not be aligned for
    /// CDR.
    static constexpr std::size_t kSmallestBuffer = 64;

    /// `budget` is borrowed. Throws Poco::Exception when OpenSSL lacks the cipher.
    explicit ReplyEncoder(ByteBudget& budget) : budget_(&budget) {}

    /// `record` under `code`, enciphered when that is wanted and the body is not over the length up
    /// to which bodies travel so. A record that is too long to be sent, or for the buffers that are
    /// left, makes an error reply instead.
    ReplyFrame Encode(std::uint32_t code, CQXBASE::QXIOBase& record, bool encipher) const;

    ReplyFrame EncodeError(ServerError error, bool encipher) const;
    ReplyFrame EncodeError(long code, const std::wstring& text, bool encipher,
                           const CQXBASE::ReplyDetails& details = {}) const;

    const CQXBASE::FrameCipher& Cipher() const noexcept { return cipher_; }
    ByteBudget& Budget() const noexcept { return *budget_; }

  private:
    ReplyFrame Frame(std::uint32_t code, std::string body, bool encipher, ByteLease lease) const;

    ByteBudget* budget_;
    CQXBASE::FrameCipher cipher_;
};

}  // namespace CQXSERVER::network
