// One client's connection.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <ace/Event_Handler.h>
#include <ace/SOCK_Stream.h>

#include "server/clock.h"
#include "server/network/frame_reader.h"
#include "server/network/request.h"
#include "server/server_options.h"
#include "tls/server_session.h"

namespace CQXSERVER::network {

class Connection;

/// What connections need of the server that owns them.
class ConnectionHost {
  public:
    virtual ~ConnectionHost() = default;
    /// Takes a request over; Connection::Finish brings the outcome.
    virtual void Submit(Request request) = 0;
    /// The connection is closed. It may be destroyed once the present event has been handled.
    virtual void Retire(ConnectionId id) = 0;
    virtual ReplyFrame ErrorReply(ServerError error, bool enciphered) const = 0;
    virtual TimePoint Now() const = 0;
    virtual const Limits& GetLimits() const = 0;
    virtual ByteBudget& Buffers() = 0;
    /// For what connections send before a login.
    virtual ByteBudget& StrangersBuffers() = 0;
    /// Whether the rest of a large frame is taken, of which `frame` has the beginning, from a
    /// connection with `token`: ServerError::None, or why it is not.
    virtual ServerError Admit(const FrameReader& frame, const std::string& token) = 0;
    /// Closes another connection that holds buffers and makes no use of them, so that `asking` can
    /// go on; false when there is none.
    virtual bool FreeBuffers(const Connection& asking) = 0;
    /// Receive buffer for the length of one event.
    virtual std::string& Scratch() = 0;
    virtual bool Stopping() const = 0;
    /// What connections that begin with a TLS hello are given; null for a server without TLS.
    virtual const CQXBASE::tls::Context& Tls() const = 0;
    /// Whether requests are served over TLS only.
    virtual bool RequiresTls() const = 0;
    /// Has Connection::GoOnWithHandshake called when it is this one's turn.
    virtual void AwaitHandshake(const Connection& connection) = 0;
    virtual void NoteFailedHandshake() = 0;
    /// Has Connection::Continue called, on the reactor's thread.
    virtual ReplyBody::Wake Waker(ConnectionId id) = 0;
};

/// Lives on the reactor's thread alone. Serves one request after the other; what a client sends
/// ahead of a reply waits, in the socket for the most part.
class Connection : public ACE_Event_Handler {
  public:
    /// Takes the socket over; `host` is borrowed.
    Connection(ConnectionId id, const ACE_SOCK_Stream& peer, std::string address,
               ConnectionHost& host);
    ~Connection() override;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Registers with the reactor. False when that fails; the connection is then closed.
    bool Open(ACE_Reactor& reactor);
    /// Sends an error reply that nothing asked for, then closes.
    void Reject(ServerError error);
    /// Goes on with the outcome of the request under way.
    void Finish(Outcome outcome);
    /// Goes on with a reply that had to be waited for.
    void Continue();
    void GoOnWithHandshake();
    /// Closes the connection when its peer has kept it waiting for too long; true when it did.
    bool CloseIfLate(TimePoint now);
    /// True while the peer owes the next frame, or the rest of one, or its farewell.
    bool Waits() const noexcept { return state_ == State::Reading || state_ == State::Draining; }
    /// Closes the connection unless a request is under way or its reply on the way.
    void CloseUnlessBusy();
    void Close();

    ConnectionId Id() const noexcept { return id_; }
    const std::string& Address() const noexcept { return address_; }
    const std::string& Token() const noexcept { return token_; }
    /// Whose session the token is, as far as the host has told; "" before a login.
    const std::string& Account() const noexcept { return account_; }
    void SetAccount(std::string account) noexcept { account_ = std::move(account); }
    /// Since when nothing has been asked or is being sent; nothing while something is.
    std::optional<TimePoint> IdleSince() const noexcept;

    /// What the buffers of a half-received frame or a half-sent reply come out of.
    struct Held {
        const ByteBudget* budget;
        std::size_t bytes;
        TimePoint since;  ///< when the peer last moved a byte of them
    };
    std::optional<Held> HoldsBuffers() const noexcept;

    ACE_HANDLE get_handle() const override { return peer_.get_handle(); }
    int handle_input(ACE_HANDLE) override;
    int handle_output(ACE_HANDLE) override;
    int handle_close(ACE_HANDLE, ACE_Reactor_Mask) override;

  private:
    enum class State {
        Reading,   ///< waits for a frame, or for the rest of one
        Working,   ///< a worker has the request
        Writing,   ///< the reply is on its way
        Draining,  ///< all is said; the client's bytes are dropped until it closes, so that what
                   ///< was said reaches it
        Closed
    };

    /// True when the socket call that has just failed may succeed later.
    static bool WouldBlock() noexcept;
    /// Closes the connection when a step fails.
    template <class Step>
    void Guarded(const Step& step);
    void TakeInput();
    void EndOfInput();
    void Enter(State state);
    void Receive(std::size_t count);
    void BeginTls();
    void Decipher();
    void HandshakeIsOver();
    bool FlushTls();
    bool WriteTls(std::string_view body);
    void SayFarewell();
    void LookAtTls();
    void Consume(std::string_view bytes);
    void Read(std::string_view bytes);
    bool ReadOn();
    bool LacksTls() const;
    void Submit();
    void RejectFrame(ServerError error);
    void Send(ReplyFrame reply);
    void Flush();
    bool FlushSome();
    bool WriteSome(std::string_view body);
    void Sent();
    void Drain();
    void ShutWriter();
    bool HasOutgoing() const noexcept { return tls_ != nullptr && !tls_->Outgoing().empty(); }
    bool Handshakes() const noexcept {
        return tls_ != nullptr &&
               tls_->GetState() == CQXBASE::tls::ServerSession::State::Handshaking;
    }
    void UpdateMask();
    TimePoint Deadline() const;

    const ConnectionId id_;
    ACE_SOCK_Stream peer_;
    const std::string address_;
    ConnectionHost& host_;

    State state_ = State::Reading;
    TimePoint since_;        ///< when the state began, or the frame
    TimePoint lastMove_;     ///< when bytes of the frame, or of the reply, travelled last
    std::size_t moved_ = 0;  ///< bytes written, or dropped, in this state
    FrameReader reader_;
    std::string ahead_;                     ///< bytes that came before their turn
    bool peerFinished_ = false;             ///< the peer has shut its sending side down
    TimePoint finished_;                    ///< when it did
    bool closing_ = false;                  ///< no further request is taken
    bool begun_ = false;                    ///< a first byte has come
    std::optional<ServerError> rejection_;  ///< what is said once it is known how
    std::unique_ptr<CQXBASE::tls::ServerSession> tls_;
    bool awaitsHandshake_ = false;       ///< until it may go on, nothing is read
    bool writerOpen_ = true;             ///< the sending side isn't shut down
    std::optional<ByteLease> tlsLease_;  ///< for TLS before a login
    std::optional<ReplyFrame> reply_;
    bool starved_ = false;  ///< nothing of the reply is ready to be sent
    std::string token_;     ///< accepted last; "" before a login
    std::string account_;
    ACE_Reactor_Mask mask_ = ACE_Event_Handler::NULL_MASK;
};

}  // namespace CQXSERVER::network
