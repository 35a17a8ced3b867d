#include "tests/transport/loopback.h"

#include <ace/OS_NS_sys_socket.h>
#include <ace/SOCK_Connector.h>
#include <gtest/gtest.h>

#include "transport/frame.h"

namespace CQXBASE {
namespace {

ACE_INET_Addr AnyPort() {
    return ACE_INET_Addr(static_cast<u_short>(0), "127.0.0.1", AF_INET);
}

unsigned short PortOf(const ACE_SOCK_Acceptor& acceptor) {
    ACE_INET_Addr address;
    EXPECT_EQ(acceptor.get_local_addr(address), 0);
    return address.get_port_number();
}

void Connect(ACE_SOCK_Stream& stream, unsigned short port) {
    ACE_SOCK_Connector connector;
    ASSERT_EQ(connector.connect(stream, ACE_INET_Addr(port, "127.0.0.1", AF_INET)), 0);
}

}  // namespace

LoopbackPeer::LoopbackPeer(std::vector<Script> scripts) : scripts_(std::move(scripts)) {
    EXPECT_EQ(acceptor_.open(AnyPort(), 1), 0);
    port_ = PortOf(acceptor_);
    thread_ = std::thread([this] { Play(); });
}

LoopbackPeer::~LoopbackPeer() {
    if (!thread_.joinable()) {
        return;
    }
    // A script that waits for its connection gets one that is closed at once.
    for (std::size_t i = 0; i < scripts_.size(); ++i) {
        ACE_SOCK_Stream stream;
        ACE_SOCK_Connector().connect(stream, ACE_INET_Addr(port_, "127.0.0.1", AF_INET));
        stream.close();
    }
    Finish();
}

std::size_t LoopbackPeer::Finish() {
    thread_.join();
    acceptor_.close();
    return accepted_;
}

void LoopbackPeer::Play() {
    for (const Script& script : scripts_) {
        ACE_SOCK_Stream stream;
        ASSERT_EQ(acceptor_.accept(stream), 0);
        ++accepted_;
        script(stream);
        stream.close();
    }
}

StreamPair::StreamPair() {
    ACE_SOCK_Acceptor acceptor;
    EXPECT_EQ(acceptor.open(AnyPort(), 1), 0);
    Connect(near, PortOf(acceptor));
    EXPECT_EQ(acceptor.accept(far), 0);
    acceptor.close();
}

StreamPair::~StreamPair() {
    near.close();
    far.close();
}

unsigned short ClosedPort() {
    ACE_SOCK_Acceptor acceptor;
    EXPECT_EQ(acceptor.open(AnyPort(), 1), 0);
    const unsigned short port = PortOf(acceptor);
    acceptor.close();
    return port;
}

void Write(ACE_SOCK_Stream& stream, const std::string& bytes) {
    EXPECT_EQ(stream.send_n(bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
}

std::string Read(ACE_SOCK_Stream& stream, std::size_t count) {
    std::string bytes(count, '\0');
    std::size_t got = 0;
    stream.recv_n(bytes.data(), count, nullptr, &got);
    bytes.resize(got);
    return bytes;
}

void Reset(ACE_SOCK_Stream& stream) {
    linger reset{1, 0};
    stream.set_option(SOL_SOCKET, SO_LINGER, &reset, static_cast<int>(sizeof reset));
    stream.close();
}

std::string Frame(unsigned typeCode, const std::string& body, std::size_t plainLength) {
    const FrameHeader header{typeCode, static_cast<std::uint32_t>(body.size()),
                             static_cast<std::uint32_t>(plainLength), true};
    const FrameHeaderBytes bytes = EncodeFrameHeader(header);
    return std::string(bytes.data(), bytes.size()) + body;
}

std::string ReadFrame(ACE_SOCK_Stream& stream) {
    std::string frame = Read(stream, kFrameHeaderSize);
    if (frame.size() == kFrameHeaderSize) {
        frame += Read(stream, DecodeFrameHeader(frame.data()).bodyLength);
    }
    return frame;
}

}  // namespace CQXBASE
