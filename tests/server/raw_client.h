// A client that speaks frames, and can speak them badly.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include <ace/SOCK_Stream.h>
#include <openssl/ssl.h>

#include <qxdb/QXCommandList.h>
#include <qxdb/QXRecordset.h>

#include "messages/session_records.h"
#include "tests/support/Frame.h"

namespace qxdb_test {

/// A plain login frame's header that announces a body of this length.
std::string HeaderClaiming(std::uint32_t bodyLength, bool littleEndian = true);

struct Reply {
    std::uint32_t code = 0;
    bool enciphered = false;
    std::string body;  ///< deciphered

    // Decode the body; throw std::runtime_error when it is no such record.
    CQXBASE::QXSimpleMsg Status() const;
    CQXBASE::QXSesInfo SessionInfo() const;
    CQXDB::QXRecordset Recordset() const;
    /// The number of an error reply, or of a session reply; 0 for any other.
    std::int32_t Error() const;
};

/// Speaks TLS beneath the frames where TestsRunOverTls. Reads give up after 60 seconds of silence.
/// Throws std::runtime_error for what fails.
class RawClient {
  public:
    explicit RawClient(std::uint16_t port);
    ~RawClient();
    RawClient(RawClient&& other) noexcept;
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    void SendBytes(std::string_view bytes);
    void Send(std::uint32_t code, CQXBASE::QXIOBase& record, bool encipher = true);
    Reply Receive();
    Reply Call(std::uint32_t code, CQXBASE::QXIOBase& record, bool encipher = true);
    Reply CallString(std::uint32_t code, const std::wstring& value);
    Reply Handshake();
    /// True when Receive has something to begin with.
    bool Readable();
    /// True when the server has closed: nothing more comes.
    bool AtEnd();
    /// All bytes until the server closes.
    std::string ReadAll();
    void FinishSending();
    /// `hard` resets the connection, with nothing more sent.
    void Close(bool hard = false);

    /// Logs in and keeps the token. Throws when the login is refused.
    void Login(const std::wstring& user, const std::wstring& password,
               const std::wstring& database = {});
    std::wstring token;

    /// A command with the token.
    CQXDB::QXCommand Command(const std::wstring& sql, const std::wstring& database = {}) const;
    CQXDB::QXCommandList List(std::initializer_list<std::wstring> statements) const;
    Reply Execute(const std::wstring& sql);
    /// One number: the first cell of the query's result.
    std::int64_t Number(const std::wstring& sql);

  private:
    /// Makes the handshake with the first byte in either direction.
    SSL* Tls();
    std::size_t ReadSome(char* into, std::size_t count);
    std::string ReadExactly(std::size_t count);

    ACE_SOCK_Stream stream_;
    std::unique_ptr<SSL, void (*)(SSL*)> tls_{nullptr, SSL_free};
};

}  // namespace qxdb_test
