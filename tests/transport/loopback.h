// Peers on loopback that play a script, and pairs of connected streams.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <ace/SOCK_Acceptor.h>
#include <ace/SOCK_Stream.h>

namespace CQXBASE {

/// Plays one script a connection, in order, and closes the connection at the script's end. Scripts
/// whose connection was never made are played on one that is closed at once.
class LoopbackPeer {
  public:
    using Script = std::function<void(ACE_SOCK_Stream&)>;

    explicit LoopbackPeer(std::vector<Script> scripts);
    ~LoopbackPeer();
    LoopbackPeer(const LoopbackPeer&) = delete;
    LoopbackPeer& operator=(const LoopbackPeer&) = delete;

    unsigned short Port() const { return port_; }
    /// Waits for all scripts.
    void Finish();

  private:
    void Play();

    std::vector<Script> scripts_;
    ACE_SOCK_Acceptor acceptor_;
    unsigned short port_ = 0;
    std::thread thread_;
};

/// Both ends of a connection, which send at once.
struct StreamPair {
    StreamPair();
    ~StreamPair();
    StreamPair(const StreamPair&) = delete;
    StreamPair& operator=(const StreamPair&) = delete;

    ACE_SOCK_Stream nearEnd;
    ACE_SOCK_Stream farEnd;
};

void Write(ACE_SOCK_Stream& stream, const std::string& bytes);
/// Exactly `count` bytes; fewer when the other side closes.
std::string Read(ACE_SOCK_Stream& stream, std::size_t count);
/// Closes with a reset.
void Reset(ACE_SOCK_Stream& stream);

/// Header and body of an object frame as bytes.
std::string Frame(unsigned typeCode, const std::string& body, std::size_t plainLength = 0);
/// A whole frame, or what comes of it before the other side closes.
std::string ReadFrame(ACE_SOCK_Stream& stream);
/// A script: sends back every frame.
void Echo(ACE_SOCK_Stream& stream);

}  // namespace CQXBASE
