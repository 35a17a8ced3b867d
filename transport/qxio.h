// The transport of one connection between a client and the application server.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>

#include <ace/Asynch_IO.h>
#include <ace/Handle_Set.h>
#include <ace/INET_Addr.h>
#include <ace/Message_Block.h>
#include <ace/SOCK_Stream.h>
#include <ace/os_include/sys/os_uio.h>

#include <qxdb/QXIOBase.h>
#include <qxdb/QXTlsInfo.h>

#include "platform/sockets/options.h"
#include "platform/sockets/proactor.h"
#include "transport/receive_block.h"
#include "transport/transport_log.h"

class ACE_OutputCDR;

namespace CQXBASE {

class FrameCipher;
struct CaughtException;
namespace tls {
class ClientStream;
}

/// Moves one frame at a time over a socket, either by blocking calls (Syc_) or over a proactor that
/// runs on the caller's thread (Asy_). Every such operation gives 0 on success and a negative code
/// on failure, lets no exception out, and leaves the reason in LastErrorCode() and LastErrorText().
/// Those two are only ever overwritten by a later failure, never cleared.
///
/// One thread uses a transport at a time. Nothing here has a time limit unless it says so or
/// LimitSilence gives it one.
class QXIO : public ACE_Handler {
  public:
    /// Wraps a connected stream. The caller keeps it, alive for as long as this object, and closes
    /// it; only close_stream() takes it away. `remote` is the peer that log lines name.
    QXIO(ACE_SOCK_Stream* stream, const ACE_INET_Addr& remote);

    /// A client that connects when it first has to send, and again after a failure. `proxyType` is
    /// a ProxyType; kProxyNone ignores the rest. A port above 65535 makes every connect fail with
    /// 10022.
    QXIO(const std::wstring& serverHost, unsigned serverPort, unsigned proxyType,
         const std::wstring& proxyHost, unsigned proxyPort, const std::wstring& proxyUser,
         const std::wstring& proxyPassword);

    ~QXIO() override;
    QXIO(const QXIO&) = delete;
    QXIO& operator=(const QXIO&) = delete;

    // The blocking exchange.

    /// Sends `obj` as one frame. With `retry` a failed write is repeated on a new connection, twice
    /// at most. -5004 on failure, also when the object writes more than its size() and that is not
    /// 0.
    int Syc_sendobj(QXIOBase& obj, unsigned typeCode, bool encipher, bool retry);

    /// Receives one frame. A plain frame gives `enciphered` false, its body length and, as `data`,
    /// the ACE_Message_Block that holds header and body (read position at the header); the
    /// transport keeps the block, and the next receive overwrites it. An enciphered one gives
    /// `enciphered` true and the `length` deciphered bytes at `data`, which are those of
    /// `plainText`. -5005 on failure, -1 when the body can't be deciphered.
    int Syc_receive_data(char*& data, unsigned& length, std::string& plainText, unsigned& typeCode,
                         bool& enciphered);

    /// Sends a string frame. -5006 or -1 on failure; a failed write, which may take 5 seconds,
    /// gives 0 and is told by the last error alone.
    int Syc_SendStrToImServer(const std::wstring& text);

    /// Receives a string frame. -5007 on failure; without a connection 0, `text` being left as it
    /// is.
    int Syc_ReceiveFmImServer(std::wstring& text);

    // The exchange over the transport's own proactor, one operation at a time, not while a blocking
    // one runs. A transport that connects must have made its connection by Asy_sendobj to use it:
    // one made by a blocking call has no write stream. Reading is bound to the first connection,
    // and a block made by a blocking receive can't be read into.

    /// -1 on failure. A frame without a body can't be sent.
    int Asy_sendobj(QXIOBase& obj, unsigned typeCode, bool encipher);

    /// Outputs as those of Syc_receive_data. -1 on failure; a peer that closes, or a frame without
    /// a body, leaves the last error as it was.
    int Asy_receive_data(char*& data, unsigned& length, std::string& plainText, unsigned& typeCode,
                         bool& enciphered);

    /// Completions, dispatched by the two operations above.
    void handle_write_stream(const ACE_Asynch_Write_Stream::Result& result) override;
    void handle_read_stream(const ACE_Asynch_Read_Stream::Result& result) override;

    /// Most bytes of body that Syc_receive_data takes: a header that claims more fails it with
    /// -5005 and the last error kReplyTooLarge before any of them is read, which leaves the
    /// connection MidExchange(). 0, as at first: no bound.
    void LimitReceivedBody(std::uint64_t bytes) noexcept { mostBody_ = bytes; }

    /// Longest wait of the blocking exchange, in milliseconds, for an address to take a connection,
    /// for room to send and for each piece that is received: the operation fails with the last
    /// error 10060, and a send is not repeated. 0, as at first: no limit but the proxy's. That one,
    /// 5 seconds, stays where it is the shorter. Without effect on a wrapped stream's receives.
    void LimitSilence(std::uint32_t milliseconds) noexcept { silenceMs_ = milliseconds; }

    /// How connections are protected that are made from now on; one that was made otherwise is
    /// dropped. With TLS, frames travel plain whatever the caller asks for, connecting fails with a
    /// CQXDB::QXTlsError as the last error, and the asynchronous exchange is refused. Without
    /// effect on a wrapped stream.
    void UseTls(const CQXDB::QXTlsInfo& info);

    // The connection.

    /// 0 when connected, already or just now; -1 otherwise. A wrapped stream counts as connected.
    int open_connection();

    /// True when the connection was found broken, or with something to read while nothing was
    /// asked, and has been dropped. Always false for a wrapped stream.
    bool probe_connection();

    /// Resets the connection, closes the stream and deletes it, whoever owns it.
    void close_stream();

    /// Socket of the stream; ACE_INVALID_HANDLE when there is none.
    ACE_HANDLE handle() const override;
    /// Does nothing when there is no stream.
    void handle(ACE_HANDLE handle) override;

    /// Host part of the peer's address; "0.0.0.0" for a transport that connects. Throws
    /// QX_Exception when there is none.
    std::wstring& GetClientIp(std::wstring& out);

    int LastErrorCode() const noexcept { return lastErrorCode_; }
    const std::wstring& LastErrorText() const noexcept { return lastErrorText_; }

    /// True when another frame must not be sent on the present connection: its proxy has refused
    /// the tunnel, or a frame was sent, if only in part, whose reply has not arrived as a whole. A
    /// failure that sent nothing leaves it as it was.
    bool MidExchange() const noexcept { return midExchange_; }

    // Steps of the operations above.

    /// Puts header and body of a frame into sendIov_. `header` is empty on entry; it, `body` and
    /// `cipherText` must outlive the write. A `maxLength` other than 0 limits the plain body; one
    /// that is negative allows any. Throws QX_Exception for a body that is too long; -1 when
    /// enciphering fails.
    int pipe_before_send(ACE_OutputCDR& body, ACE_OutputCDR& header, unsigned typeCode,
                         int maxLength, bool encipher, std::string& cipherText);
    /// Deciphers the frame in the receive block. Throws QX_Exception when it isn't whole.
    int pipe_before_recv(char*& data, unsigned& length, std::string& plainText, unsigned& typeCode,
                         bool& enciphered);

    void set_last_error(int code, const std::wstring& text);
    /// Turns errno into a code in Winsock numbering and a text that begins with `context`.
    void record_socket_error(const std::wstring& context, int& code, std::wstring& text) const;

    /// Probes a silent peer after 5 seconds, then every 15. Without effect on a stream that has no
    /// socket yet.
    void set_keepalive(ACE_SOCK_Stream& stream);
    void clear_receive_buffer(ACE_SOCK_Stream& stream);
    void clear_send_buffer(ACE_SOCK_Stream& stream);
    /// Closes the stream's socket at once, whatever is still to be sent: the peer sees a reset.
    void hard_close(ACE_SOCK_Stream& stream);

    /// Makes the proactor if there is none yet.
    void ensure_proactor();

  protected:
    bool check_port(const std::wstring& host, std::uint32_t port, const std::wstring& whose);
    int connect_peer(const std::wstring& target);
    int tunnel_through_proxy();
    int secure_connection();
    bool refuse_asynchronous();
    int open_writer();

    int send_with_retry(bool retry);
    int Syc_send_frame();
    bool write_parts(const iovec* parts, int count, int timeoutMs);
    int record_failed_send(int error);
    void Syc_receive_init();
    int Syc_receive_header();
    int Syc_receive_body();
    int refuse_body();
    void apply_silence_limit();
    int silence_timeout() const noexcept;
    int Syc_receive_length_field();
    bool receive_into_block(std::size_t count, std::uint64_t wholeSize);
    bool read_exactly(char* bytes, std::size_t count);
    void drop_after_failed_read();
    int send_string(const std::string& utf8);
    int string_failure(const wchar_t* context);
    std::wstring received_string() const;

    /// Derives the key of the frame that is to be received, if a frame was enciphered before: while
    /// the peer is at work on its answer.
    void derive_ahead();
    /// Deciphers what has arrived of a body, if its key is there.
    void decipher_arrived();
    /// What `work` throws is forgotten with all that was done ahead, a fault is kept in rxFault_.
    template <class Work>
    void do_ahead(const Work& work);
    void forget_ahead() noexcept;
    void take_header(const char* bytes);
    int hand_out_plain(char*& data, unsigned& length, unsigned& typeCode) const;

    void Asy_send_init();
    int Asy_send_header();
    int Asy_send_block(const iovec& part, std::size_t offset, std::size_t count);
    int start_write(BlockPtr block, std::size_t count);
    void on_written(const ACE_Asynch_Write_Stream::Result& result);
    void resume_write(const ACE_Message_Block& written, std::size_t remainder);
    bool send_over() const;
    int send_result();

    int Asy_receive_init();
    int open_reader();
    int Asy_receive_header();
    int Asy_receive_block(std::size_t count);
    int start_read(std::size_t count);
    bool make_room(std::size_t count);
    void on_read(const ACE_Asynch_Read_Stream::Result& result);
    bool count_read(const ACE_Asynch_Read_Stream::Result& result);
    bool receive_over() const;

    /// Dispatches completions until `over` or until none can come.
    void run_completions(bool (QXIO::*over)() const);
    /// Ends what a failed event loop has left under way.
    void abandon_pending() noexcept;
    struct PendingGuard {
        explicit PendingGuard(QXIO& transport) : io(transport) {}
        ~PendingGuard() { io.abandon_pending(); }
        PendingGuard(const PendingGuard&) = delete;
        PendingGuard& operator=(const PendingGuard&) = delete;
        QXIO& io;
    };
    static int log_handler_error(const CaughtException& caught);

    const std::string& peer_host() const noexcept { return peerHost_; }
    /// A line that begins with the socket's number and the peer's host.
    template <class... Args>
    void log_peer(int line, int error, const ACE_TCHAR* format, Args... args) const {
        LogLine(kTransportPriority, line, 0, error, format,
                platform::sockets::HandleNumber(handle()), peer_host().c_str(), args...);
    }
    /// The same for a line that only tells how things go: not written for a peer without an
    /// address.
    template <class... Args>
    void log_progress(int line, const ACE_TCHAR* format, Args... args) const {
        if (peer_host() != "0.0.0.0") {
            log_peer(line, 0, format, args...);
        }
    }

    std::wstring serverHost_;
    std::uint32_t serverPort_ = 7777;
    std::uint32_t proxyType_ = 0;
    std::wstring proxyHost_;
    std::uint32_t proxyPort_ = 0;
    std::wstring proxyUser_;
    std::wstring proxyPassword_;
    CQXDB::QXTlsInfo tlsInfo_;
    bool ownsStream_ = false;  ///< the stream is made, closed and deleted here
    ACE_INET_Addr remoteAddr_;
    std::string peerHost_;  ///< its host as text, which the log lines name

    iovec sendIov_[2] = {};  ///< the frame being sent: header, body; both belong to the caller
    std::uint32_t silenceMs_ = 0;        ///< 0: no limit
    std::uint32_t socketSilenceMs_ = 0;  ///< the receive time-out that the socket has
    std::uint64_t mostBody_ = 0;         ///< bytes a received frame's body may have; 0: any number
    std::uint32_t rxTypeCode_ = 0;
    std::uint32_t rxBodyLength_ = 0;
    std::uint32_t rxPlainLength_ = 0;
    bool encipheredAnswer_ = false;  ///< an enciphered frame was sent, and nothing received since
    std::shared_ptr<const FrameCipher> rxCipher_;  ///< of the next frame; null: not derived yet
    std::string rxBegun_;                          ///< what it has made of the body under way
    std::exception_ptr rxFault_;  ///< met ahead of the body's end, told when that is there
    /// The connection is not where a frame may begin: no tunnel yet, or a reply is still owed.
    bool midExchange_ = false;

    ACE_SOCK_Stream* peer_ = nullptr;  ///< owned when ownsStream_ is set; null when not connected
    std::unique_ptr<tls::ClientStream> tls_;  ///< over peer_; null for a connection without TLS
    std::unique_ptr<ACE_Handle_Set> handleSet_;
    platform::sockets::ProactorPtr proactor_;

    std::int32_t sendDone_ = -1;          ///< -1 never sent, 0 sending, 1 over
    std::uint32_t sendWritten_ = 0;       ///< body bytes
    std::uint32_t sendTotal_ = 0;         ///< body bytes; 0 until the header is written
    std::uint32_t rxDone_ = 0;            ///< 1: the receive is over
    std::uint32_t rxReceived_ = 0;        ///< body bytes
    std::uint32_t rxExpected_ = 0;        ///< body bytes; 0 until the header is read
    std::uint32_t pending_ = 0;           ///< operations started and not yet completed
    bool headerCut_ = false;              ///< the header's write came back short
    std::uint32_t connection_ = 0;        ///< counts connections made and dropped
    std::uint32_t writerConnection_ = 0;  ///< the one that writer_ was opened on
    std::uint32_t readerConnection_ = 0;
    std::optional<ACE_Asynch_Write_Stream> writer_;
    std::optional<ACE_Asynch_Read_Stream> reader_;

    BlockPtr rxBlock_;  ///< header and body last received; reused, its memory only grows
    std::int32_t lastErrorCode_ = 0;
    std::wstring lastErrorText_;
};

/// Host part of an address as wide text; "" when it has none.
std::wstring HostText(const ACE_INET_Addr& address) noexcept;

}  // namespace CQXBASE
