#include "tests/server/raw_client.h"

#include <stdexcept>

#include <ace/ACE.h>
#include <ace/CDR_Stream.h>
#include <ace/INET_Addr.h>
#include <ace/OS_NS_sys_socket.h>
#include <ace/SOCK_Connector.h>
#include <ace/Time_Value.h>
#include <ace/os_include/netinet/os_tcp.h>
#include <openssl/err.h>

#include "messages/type_codes.h"
#include "platform/sockets/handshake.h"
#include "tests/support/TestTls.h"
#include "tls/context.h"
#include "tls/tls_error.h"

namespace qxdb_test {
namespace {

using namespace CQXBASE;

constexpr int kLittleEndian = 1;

template <class Record>
Record Decode(const std::string& body, Record record) {
    ACE_InputCDR in(body.data(), body.size(), kLittleEndian, 1, 2);
    if (record.fromCDR(in) == 0) {
        throw std::runtime_error("undecodable reply");
    }
    return record;
}

void Require(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(what);
    }
}

}  // namespace

std::string HeaderClaiming(std::uint32_t bodyLength, bool littleEndian) {
    FrameHeader header;
    header.typeCode = kLogin;
    header.bodyLength = bodyLength;
    header.littleEndian = littleEndian;
    const FrameHeaderBytes bytes = EncodeFrameHeader(header);
    return {bytes.data(), bytes.size()};
}

QXSimpleMsg Reply::Status() const {
    return Decode(body, QXSimpleMsg(std::wstring(), 0));
}
QXSesInfo Reply::SessionInfo() const {
    return Decode(body, QXSesInfo());
}
CQXDB::QXRecordset Reply::Recordset() const {
    return Decode(body, CQXDB::QXRecordset());
}

std::int32_t Reply::Error() const {
    if (code == kLogin || code == kVirtualLogin) {
        return static_cast<std::int32_t>(SessionInfo().code);
    }
    return code == kErrorReply ? static_cast<std::int32_t>(Status().code) : 0;
}

RawClient::RawClient(std::uint16_t port) {
    int on = 1;
    Require(ACE_SOCK_Connector().connect(stream_, ACE_INET_Addr(port, "127.0.0.1")) == 0,
            "can't connect");
    stream_.set_option(IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    platform::sockets::SetReceiveTimeout(stream_.get_handle(), 60000);
}

RawClient::RawClient(RawClient&& other) noexcept
    : token(std::move(other.token)), stream_(other.stream_), tls_(std::move(other.tls_)) {
    other.stream_.set_handle(ACE_INVALID_HANDLE);
}

RawClient::~RawClient() {
    stream_.close();
}

SSL* RawClient::Tls() {
    if (!tls_ && TestsRunOverTls()) {
        static const tls::Context context = tls::ClientContext(TestTls::Get().client);
        tls_.reset(SSL_new(context.get()));
        SSL_set_fd(tls_.get(), SocketNumber(stream_.get_handle()));
        tls::ForgetErrors();
        Require(SSL_connect(tls_.get()) == 1, "no TLS");
    }
    return tls_.get();
}

void RawClient::SendBytes(std::string_view bytes) {
    while (!bytes.empty()) {
        SSL* const secure = Tls();
        tls::ForgetErrors();
        const std::ptrdiff_t count =
            secure != nullptr
                ? SSL_write(secure, bytes.data(), static_cast<int>(bytes.size()))
                : platform::sockets::SendSome(stream_.get_handle(), bytes.data(), bytes.size());
        Require(count > 0, "can't send");
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

void RawClient::Send(std::uint32_t code, QXIOBase& record, bool encipher) {
    SendBytes(MakeFrame(code, EncodeRecord(record), encipher));
}

Reply RawClient::Receive() {
    const std::string head = ReadExactly(kFrameHeaderSize);
    const FrameHeader header = DecodeFrameHeader(head.data());
    Reply reply{header.typeCode, header.plainLength != 0, ReadExactly(header.bodyLength)};
    if (reply.enciphered) {
        reply.body = Cipher().Decipher(reply.body);
        Require(reply.body.size() == header.plainLength, "wrong plain length");
    }
    return reply;
}

Reply RawClient::Call(std::uint32_t code, QXIOBase& record, bool encipher) {
    Send(code, record, encipher);
    return Receive();
}

Reply RawClient::CallString(std::uint32_t code, const std::wstring& value) {
    QXOneString record(value);
    return Call(code, record);
}

Reply RawClient::Handshake() {
    QXSimpleMsg record(std::wstring(), 0);
    return Call(kHandshake, record);
}

bool RawClient::Readable() {
    SSL* const secure = Tls();
    return (secure != nullptr && SSL_has_pending(secure) == 1) ||
           ACE::handle_read_ready(stream_.get_handle(), &ACE_Time_Value::zero) > 0;
}

bool RawClient::AtEnd() {
    char byte = 0;
    return ReadSome(&byte, 1) == 0;
}

std::string RawClient::ReadAll() {
    std::string all;
    char bytes[4096];
    while (const std::size_t got = ReadSome(bytes, sizeof bytes)) {
        all.append(bytes, got);
    }
    return all;
}

void RawClient::FinishSending() {
    if (tls_) {
        SSL_shutdown(tls_.get());
    }
    stream_.close_writer();
}

void RawClient::Close(bool hard) {
    linger reset{1, 0};
    if (hard) {
        stream_.set_option(SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
        ACE_OS::closesocket(stream_.get_handle());  // the stream's own close ends in good order
        stream_.set_handle(ACE_INVALID_HANDLE);
    }
    stream_.close();
}

void RawClient::Login(const std::wstring& user, const std::wstring& password,
                      const std::wstring& database) {
    const Reply reply =
        CallString(kLogin, user + L"|~|" + password + (database.empty() ? L"" : L"|~|" + database));
    Require(reply.Error() == 0, "login refused");
    token = reply.SessionInfo().token;
}

CQXDB::QXCommand RawClient::Command(const std::wstring& sql, const std::wstring& database) const {
    CQXDB::QXCommand command(sql);
    command.SetToken(token);
    command.SetDB(database);
    return command;
}

CQXDB::QXCommandList RawClient::List(std::initializer_list<std::wstring> statements) const {
    CQXDB::QXCommandList list;
    list.SetToken(token);
    for (const std::wstring& each : statements) {
        list.Add(CQXDB::QXCommand(each));
    }
    return list;
}

Reply RawClient::Execute(const std::wstring& sql) {
    CQXDB::QXCommand command = Command(sql);
    return Call(kExecute, command);
}

std::int64_t RawClient::Number(const std::wstring& sql) {
    CQXDB::QXCommand command = Command(sql);
    const Reply reply = Call(kQuery, command);
    Require(reply.code == kQuery, "query refused");
    return reply.Recordset().GetInt64(0, 0);
}

std::size_t RawClient::ReadSome(char* into, std::size_t count) {
    if (SSL* const secure = Tls()) {
        tls::ForgetErrors();
        const int got = SSL_read(secure, into, static_cast<int>(count));
        const int error = got > 0 ? SSL_ERROR_NONE : SSL_get_error(secure, got);
        const bool ended = error == SSL_ERROR_ZERO_RETURN ||
                           ERR_GET_REASON(ERR_peek_error()) == SSL_R_UNEXPECTED_EOF_WHILE_READING;
        Require(got > 0 || ended, "can't receive");
        return got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    const ssize_t got = ACE_OS::recv(stream_.get_handle(), into, count);
    Require(got >= 0, "can't receive");
    return static_cast<std::size_t>(got);
}

std::string RawClient::ReadExactly(std::size_t count) {
    std::string bytes(count, '\0');
    for (std::size_t at = 0; at < count;) {
        const std::size_t got = ReadSome(bytes.data() + at, count - at);
        Require(got > 0, "the server closed the connection");
        at += got;
    }
    return bytes;
}

}  // namespace qxdb_test
