// One frame each way over the asynchronous exchange, between a client transport and one that wraps
// an accepted stream. Both run on this thread: each operation lends it to its own transport.
#include <iostream>

#include <ace/INET_Addr.h>
#include <ace/Init_ACE.h>
#include <ace/SOCK_Acceptor.h>

#include "messages/message_holder.h"
#include "messages/session_records.h"
#include "transport/qxio.h"
#include "util/text.h"

namespace {

using namespace CQXBASE;

bool Send(QXIO& io, const std::wstring& text) {
    QXSimpleMsg message(text, 0);
    if (io.Asy_sendobj(message, kHandshake, true) == 0) {
        return true;
    }
    std::cerr << io.LastErrorCode() << " " << WideToUtf8(io.LastErrorText()) << "\n";
    return false;
}

/// Receives a handshake and prints what it says.
bool Print(QXIO& io, const char* kind) {
    char* data = nullptr;
    unsigned length = 0;
    unsigned typeCode = 0;
    bool enciphered = false;
    std::string plainText;  // holds the bytes at `data`, so it lives until they are decoded
    if (io.Asy_receive_data(data, length, plainText, typeCode, enciphered) != 0) {
        std::cerr << "no frame: " << WideToUtf8(io.LastErrorText()) << "\n";
        return false;
    }
    const MessageHolder holder =
        MessageHolder::Request(typeCode, ReceivedBody::Of(data, length, enciphered));
    const auto* message = holder.As<QXSimpleMsg>();
    std::cout << kind << " " << typeCode << ": "
              << (message == nullptr ? "not decoded" : WideToUtf8(message->text)) << "\n";
    return message != nullptr;
}

bool Exchange(ACE_SOCK_Acceptor& acceptor) {
    ACE_INET_Addr address;
    acceptor.get_local_addr(address);
    QXIO client(L"127.0.0.1", address.get_port_number(), 0, L"", 0, L"", L"");
    ACE_SOCK_Stream accepted;
    if (!Send(client, L"are you there?") || acceptor.accept(accepted, &address) != 0) {
        return false;
    }
    QXIO server(&accepted, address);
    const bool done = Print(server, "request") && Send(server, L"yes") && Print(client, "reply");
    accepted.close();  // a wrapped stream stays the caller's
    return done;
}

}  // namespace

int main() {
    ACE::init();
    ACE_SOCK_Acceptor acceptor;
    const ACE_INET_Addr anyPort(static_cast<u_short>(0), "127.0.0.1", AF_INET);
    const bool done = acceptor.open(anyPort, 1) == 0 && Exchange(acceptor);
    acceptor.close();
    ACE::fini();
    return done ? 0 : 1;
}
