#include "tests/agent/scripted_server.h"

#include <stdexcept>

#include <ace/INET_Addr.h>
#include <ace/SOCK_Connector.h>

#include "tests/support/Frame.h"
#include "tests/support/TestTls.h"

namespace qxdb_test {

using CQXBASE::FrameHeader;
using CQXBASE::kFrameHeaderSize;

ScriptedServer::ScriptedServer() {
    if (acceptor_.open(ACE_INET_Addr(static_cast<u_short>(0), "127.0.0.1"), 1) != 0) {
        throw std::runtime_error("no listening socket");
    }
    ACE_INET_Addr local;
    acceptor_.get_local_addr(local);
    port_ = local.get_port_number();
    thread_ = std::thread([this] { Serve(); });
    front_ = TestsRunOverTls() ? std::make_unique<TlsFront>(port_) : nullptr;
}

// A connection that sends nothing ends the accept loop.
ScriptedServer::~ScriptedServer() {
    front_.reset();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        script_.clear();
        stopping_ = true;
    }
    ACE_SOCK_Stream wake;
    ACE_SOCK_Connector().connect(wake, ACE_INET_Addr(port_, "127.0.0.1"));
    wake.close();
    thread_.join();
    acceptor_.close();
}

void ScriptedServer::Do(Step step) {
    const std::lock_guard<std::mutex> lock(mutex_);
    script_.push_back(std::move(step));
}

void ScriptedServer::Reply(std::uint32_t code, const std::string& body, bool encipher) {
    Do([frame = MakeFrame(code, body, encipher && !body.empty())](ACE_SOCK_Stream& peer) {
        peer.send_n(frame.data(), frame.size());
        return true;
    });
}

void ScriptedServer::Reply(std::uint32_t code, CQXBASE::QXIOBase&& object, bool encipher) {
    Reply(code, EncodeRecord(object), encipher);
}

void ScriptedServer::ReplyRaw(std::string bytes) {
    Do([bytes = std::move(bytes)](ACE_SOCK_Stream& peer) {
        peer.send_n(bytes.data(), bytes.size());
        return false;
    });
}

void ScriptedServer::AnswerConnect(const std::string& statusLine) {
    const std::lock_guard<std::mutex> lock(mutex_);
    connectAnswers_.push_back(statusLine + "\r\n\r\n");
}

std::vector<Request> ScriptedServer::Requests() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

void ScriptedServer::Serve() {
    for (int connection = 1;; ++connection) {
        ACE_SOCK_Stream peer;
        if (acceptor_.accept(peer) != 0) {
            return;
        }
        Open(peer);
        while (ServeOne(peer, connection)) {
        }
        peer.close();
        const std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) {
            return;
        }
    }
}

void ScriptedServer::Open(ACE_SOCK_Stream& peer) {
    std::string answer;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (connectAnswers_.empty()) {
            return;
        }
        answer = connectAnswers_.front();
        connectAnswers_.pop_front();
    }
    const std::string end = "\r\n\r\n";
    std::string request;
    char byte = 0;
    while (request.find(end) == std::string::npos && peer.recv_n(&byte, 1) == 1) {
        request += byte;
    }
    peer.send_n(answer.data(), answer.size());
}

bool ScriptedServer::ServeOne(ACE_SOCK_Stream& peer, int connection) {
    char head[kFrameHeaderSize];
    if (peer.recv_n(head, sizeof head) != static_cast<ssize_t>(sizeof head)) {
        return false;
    }
    const FrameHeader header = CQXBASE::DecodeFrameHeader(head);
    std::string body(header.bodyLength, '\0');
    if (!body.empty() && peer.recv_n(&body[0], body.size()) != static_cast<ssize_t>(body.size())) {
        return false;
    }
    const bool enciphered = header.plainLength != 0;
    if (enciphered) {
        body = Cipher().Decipher(body);
    }
    Step step;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        requests_.push_back({header.typeCode, body, enciphered, connection});
        if (script_.empty()) {
            return false;
        }
        step = std::move(script_.front());
        script_.pop_front();
    }
    return step(peer);
}

}  // namespace qxdb_test
