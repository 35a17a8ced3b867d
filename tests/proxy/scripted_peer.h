// A peer on loopback that plays a proxy by a script.
#pragma once

#include <cstddef>
#include <string>
#include <thread>
#include <vector>

#include <ace/SOCK_Acceptor.h>
#include <ace/SOCK_Stream.h>

class ScriptedPeer {
  public:
    /// Waits for so many bytes, then answers; an empty answer is silence.
    struct Step {
        std::size_t awaited;
        std::string answer;
    };

    enum class End { Listen, HangUp };

    /// Connects a socket to the peer, which plays its steps and then listens until the socket
    /// closes, or closes its side at once.
    explicit ScriptedPeer(std::vector<Step> script, End end = End::Listen);
    ~ScriptedPeer();
    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;

    ACE_HANDLE Socket() const { return client_.get_handle(); }
    ACE_SOCK_Stream& Stream() { return client_; }
    /// Closes the socket and gives everything that the peer received on it.
    const std::string& Received();

  private:
    void Play();
    bool ReceiveUpTo(std::size_t total);

    std::vector<Step> script_;
    End end_;
    ACE_SOCK_Acceptor acceptor_;
    ACE_SOCK_Stream client_;
    ACE_SOCK_Stream peer_;
    std::string received_;
    std::thread thread_;
};
