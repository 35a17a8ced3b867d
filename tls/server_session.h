// TLS of a connection that a server has taken.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "tls/context.h"
#include "tls/wire.h"

namespace CQXBASE::tls {

/// Turns bytes into bytes, and never waits: somebody else moves them to and from the socket. One
/// thread uses it at a time.
class ServerSession : private Wire {
  public:
    enum class State {
        Handshaking,
        Open,
        Finished,  ///< the client has said that it sends no more
        Failed,    ///< nothing goes on any more; what Outgoing has tells the client why
    };

    /// Throws std::bad_alloc.
    explicit ServerSession(const Context& context);
    ~ServerSession() override;
    ServerSession(const ServerSession&) = delete;
    ServerSession& operator=(const ServerSession&) = delete;

    /// The first byte of a TLS connection, unlike that of any frame.
    static constexpr char kFirstByte = 0x16;

    /// Takes bytes of the client's; Read uses them up.
    void Feed(std::string_view bytes);
    /// True while there are bytes that Read has not looked at.
    bool HasInput() const noexcept { return taken_ < in_.size(); }
    /// At most `count` deciphered bytes, 0 when there are none for now; goes on with the handshake
    /// first. May add to Outgoing.
    std::size_t Read(char* bytes, std::size_t count);

    /// Adds the records of `head` and `body` to Outgoing; false when TLS has failed. For an open
    /// session.
    bool Write(std::string_view head, std::string_view body);
    /// Adds TLS's own farewell to Outgoing, once; nothing can be written then.
    void Farewell();

    /// What the client is to get next; its owner takes away what has been sent.
    std::string_view Outgoing() const noexcept { return std::string_view(out_).substr(sent_); }
    void Sent(std::size_t count) noexcept;

    State GetState() const noexcept { return state_; }
    /// Why it has failed, for a log.
    const std::string& Reason() const noexcept { return reason_; }
    /// "TLSv1.3, TLS_AES_128_GCM_SHA256".
    std::string Description() const;

  private:
    std::ptrdiff_t ReadWire(char* bytes, std::size_t count) noexcept override;
    std::ptrdiff_t WriteWire(const char* bytes, std::size_t count) noexcept override;
    bool WriteRecord(std::string_view plain);
    void Fail(int result);

    std::unique_ptr<SSL, decltype(&SSL_free)> ssl_;
    State state_ = State::Handshaking;
    std::string in_;
    std::size_t taken_ = 0;  ///< of in_
    std::string out_;
    std::size_t sent_ = 0;  ///< of out_
    bool parted_ = false;   ///< the farewell was said
    std::string reason_;
};

}  // namespace CQXBASE::tls
