#include "tests/agent/scripted_server.h"

#include <stdexcept>

#include <ace/INET_Addr.h>
#include <ace/SOCK_Connector.h>

#include "tests/support/Frame.h"

namespace qxdb_test {
namespace {

using CQXBASE::FrameHeader;
using CQXBASE::kFrameHeaderSize;

std::string Frame(std::uint32_t code, const std::string& body, bool encipher) {
    return MakeFrame(code, body, encipher && !body.empty());
}

}  // namespace

ScriptedServer::ScriptedServer() {
    if (acceptor_.open(ACE_INET_Addr(static_cast<u_short>(0), "127.0.0.1"), 1) != 0) {
        throw std::runtime_error("no listening socket");
    }
    ACE_INET_Addr local;
    acceptor_.get_local_addr(local);
    port_ = local.get_port_number();
    thread_ = std::thread([this] { Serve(); });
}

// A connection that sends nothing ends the accept loop.
ScriptedServer::~ScriptedServer() {
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

void ScriptedServer::Add(Step step) {
    const std::lock_guard<std::mutex> lock(mutex_);
    script_.push_back(std::move(step));
}

void ScriptedServer::Reply(std::uint32_t code, const std::string& body, bool encipher) {
    Add({Frame(code, body, encipher), false});
}

void ScriptedServer::Reply(std::uint32_t code, CQXBASE::QXIOBase&& object, bool encipher) {
    Reply(code, EncodeRecord(object), encipher);
}

void ScriptedServer::ReplyRaw(std::string bytes) {
    Add({std::move(bytes), true});
}

void ScriptedServer::Hangup() {
    Add({{}, true});
}

void ScriptedServer::CloseAfterReply(std::uint32_t code, const std::string& body) {
    Add({Frame(code, body, true), true});
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
        while (ServeOne(peer, connection)) {
        }
        peer.close();
        const std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) {
            return;
        }
    }
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
    peer.send_n(step.frame.data(), step.frame.size());
    return !step.closeAfter;
}

}  // namespace qxdb_test
