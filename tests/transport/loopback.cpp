#include "tests/transport/loopback.h"

#include <ace/INET_Addr.h>
#include <ace/OS_NS_sys_socket.h>
#include <ace/SOCK_Connector.h>
#include <ace/os_include/netinet/os_tcp.h>
#include <gtest/gtest.h>

#include "transport/frame.h"

namespace CQXBASE {
namespace {

ACE_INET_Addr Loopback(unsigned short port) {
    return ACE_INET_Addr(port, "127.0.0.1", AF_INET);
}

unsigned short Listen(ACE_SOCK_Acceptor& acceptor) {
    EXPECT_EQ(acceptor.open(Loopback(0), 1), 0);
    ACE_INET_Addr address;
    EXPECT_EQ(acceptor.get_local_addr(address), 0);
    return address.get_port_number();
}

}  // namespace

LoopbackPeer::LoopbackPeer(std::vector<Script> scripts) : scripts_(std::move(scripts)) {
    port_ = Listen(acceptor_);
    thread_ = std::thread([this] { Play(); });
}

LoopbackPeer::~LoopbackPeer() {
    for (std::size_t i = 0; thread_.joinable() && i < scripts_.size(); ++i) {
        ACE_SOCK_Stream stream;
        ACE_SOCK_Connector().connect(stream, Loopback(port_));
        stream.close();
    }
    Finish();
}

void LoopbackPeer::Finish() {
    if (thread_.joinable()) {
        thread_.join();
        acceptor_.close();
    }
}

void LoopbackPeer::Play() {
    for (const Script& script : scripts_) {
        ACE_SOCK_Stream stream;
        ASSERT_EQ(acceptor_.accept(stream), 0);
        script(stream);
        stream.close();
    }
}

StreamPair::StreamPair() {
    ACE_SOCK_Acceptor acceptor;
    EXPECT_EQ(ACE_SOCK_Connector().connect(nearEnd, Loopback(Listen(acceptor))), 0);
    EXPECT_EQ(acceptor.accept(farEnd), 0);
    acceptor.close();
    for (ACE_SOCK_Stream* stream : {&nearEnd, &farEnd}) {
        int on = 1;
        stream->set_option(ACE_IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
}

StreamPair::~StreamPair() {
    nearEnd.close();
    farEnd.close();
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
    ACE_OS::closesocket(stream.get_handle());  // the stream's own close would end it in good order
    stream.set_handle(ACE_INVALID_HANDLE);
}

std::string Frame(unsigned typeCode, const std::string& body, std::size_t plainLength) {
    const FrameHeaderBytes header =
        EncodeFrameHeader({typeCode, static_cast<std::uint32_t>(body.size()),
                           static_cast<std::uint32_t>(plainLength), true});
    return std::string(header.data(), header.size()) + body;
}

std::string ReadFrame(ACE_SOCK_Stream& stream) {
    std::string frame = Read(stream, kFrameHeaderSize);
    if (frame.size() == kFrameHeaderSize) {
        frame += Read(stream, DecodeFrameHeader(frame.data()).bodyLength);
    }
    return frame;
}

void Echo(ACE_SOCK_Stream& stream) {
    for (std::string frame = ReadFrame(stream); !frame.empty(); frame = ReadFrame(stream)) {
        Write(stream, frame);
    }
}

}  // namespace CQXBASE
