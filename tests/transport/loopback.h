// Peers on loopback that play a script, and pairs of connected streams.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <ace/INET_Addr.h>
#include <ace/SOCK_Acceptor.h>
#include <ace/SOCK_Stream.h>

namespace CQXBASE {

/// Plays one script a connection, in order, each on a connection of its own; closes it at the
/// script's end. The last connection accepted is the last script's.
class LoopbackPeer {
  public:
    using Script = std::function<void(ACE_SOCK_Stream&)>;

    explicit LoopbackPeer(std::vector<Script> scripts);
    /// Waits for the scripts; those that were never started are dropped.
    ~LoopbackPeer();
    LoopbackPeer(const LoopbackPeer&) = delete;
    LoopbackPeer& operator=(const LoopbackPeer&) = delete;

    unsigned short Port() const { return port_; }
    /// Waits for all scripts and returns the number of connections accepted.
    std::size_t Finish();

  private:
    void Play();

    std::vector<Script> scripts_;
    ACE_SOCK_Acceptor acceptor_;
    unsigned short port_ = 0;
    std::size_t accepted_ = 0;
    std::thread thread_;
};

/// Both ends of a connection.
struct StreamPair {
    StreamPair();
    ~StreamPair();
    StreamPair(const StreamPair&) = delete;
    StreamPair& operator=(const StreamPair&) = delete;

    ACE_SOCK_Stream near;
    ACE_SOCK_Stream far;
};

/// A port on which nobody listens.
unsigned short ClosedPort();

void Write(ACE_SOCK_Stream& stream, const std::string& bytes);
/// Exactly `count` bytes; fewer when the other side closes.
std::string Read(ACE_SOCK_Stream& stream, std::size_t count);
/// Closes with a reset.
void Reset(ACE_SOCK_Stream& stream);

/// Header and body of an object frame as bytes.
std::string Frame(unsigned typeCode, const std::string& body, std::size_t plainLength = 0);
/// Reads a whole frame; its header is the first 16 bytes.
std::string ReadFrame(ACE_SOCK_Stream& stream);

}  // namespace CQXBASE
