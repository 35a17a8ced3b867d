// A server that answers each request with the next reply of a script.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <ace/SOCK_Acceptor.h>

#include <qxdb/QXIOBase.h>

#include "tests/support/TlsFront.h"

namespace qxdb_test {

struct Request {
    std::uint32_t code = 0;
    std::string body;  ///< deciphered CDR
    bool enciphered = false;
    int connection = 0;  ///< counts accepted connections from 1
};

class ScriptedServer {
  public:
    ScriptedServer();
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    /// Of the TLS in front of it, where TestsRunOverTls.
    std::uint16_t Port() const { return front_ ? front_->Port() : port_; }

    /// Answers one request; true keeps the connection.
    using Step = std::function<bool(ACE_SOCK_Stream&)>;

    // The script, one step a request. Without a step left, the connection is closed.
    void Do(Step step);
    void Reply(std::uint32_t code, const std::string& body, bool encipher = true);
    void Reply(std::uint32_t code, CQXBASE::QXIOBase&& object, bool encipher = true);
    void ReplyRaw(std::string bytes);  ///< these bytes, then an orderly close
    void Hangup() { ReplyRaw({}); }    ///< closes instead of answering
    /// Plays an HTTP proxy in front of itself: answers the CONNECT of the next new connection.
    void AnswerConnect(const std::string& statusLine);

    /// All requests so far.
    std::vector<Request> Requests();

  private:
    void Serve();
    void Open(ACE_SOCK_Stream& peer);
    bool ServeOne(ACE_SOCK_Stream& peer, int connection);

    ACE_SOCK_Acceptor acceptor_;
    std::uint16_t port_ = 0;
    std::mutex mutex_;
    std::deque<Step> script_;
    std::deque<std::string> connectAnswers_;
    std::vector<Request> requests_;
    bool stopping_ = false;
    std::thread thread_;
    std::unique_ptr<TlsFront> front_;
};

}  // namespace qxdb_test
