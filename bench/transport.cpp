// The frame cipher, the round trip of a small frame and the throughput of large ones, beside bare
// sockets.
#include <benchmark/benchmark.h>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <ace/CDR_Stream.h>
#include <ace/INET_Addr.h>
#include <ace/OS_NS_sys_socket.h>
#include <ace/SOCK_Acceptor.h>
#include <ace/SOCK_Connector.h>

#include <qxdb/QXIOBase.h>

#include "transport/frame.h"
#include "transport/frame_cipher.h"
#include "transport/qxio.h"

namespace {

using namespace CQXBASE;

constexpr std::size_t kSmallFrame = 200;
constexpr std::size_t kLargeFrame = 20 * 1024 * 1024;

class Body : public QXIOBase {
  public:
    explicit Body(std::size_t size) : bytes_(size, 'b') {}
    int toCDR(ACE_OutputCDR& out) const override {
        return out.write_char_array(bytes_.data(), static_cast<ACE_CDR::ULong>(bytes_.size())) ? 1
                                                                                               : 0;
    }
    std::size_t size() override { return bytes_.size(); }

  private:
    std::string bytes_;
};

/// Serves one connection on a thread of its own, until the client closes.
class Peer {
  public:
    explicit Peer(std::function<void(ACE_SOCK_Stream&)> serve) {
        acceptor_.open(ACE_INET_Addr(static_cast<u_short>(0), "127.0.0.1", AF_INET), 1);
        acceptor_.get_local_addr(address_);
        thread_ = std::thread([this, serve] {
            ACE_SOCK_Stream stream;
            acceptor_.accept(stream);
            serve(stream);
            stream.close();
        });
    }
    ~Peer() {
        thread_.join();
        acceptor_.close();
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    const ACE_INET_Addr& Address() const { return address_; }

  private:
    ACE_SOCK_Acceptor acceptor_;
    ACE_INET_Addr address_;
    std::thread thread_;
};

QXIO Client(const Peer& peer) {
    return {L"127.0.0.1", peer.Address().get_port_number(), 0, L"", 0, L"", L""};
}

bool ReadFrame(ACE_SOCK_Stream& stream, std::vector<char>& frame) {
    frame.resize(kFrameHeaderSize);
    if (stream.recv_n(frame.data(), kFrameHeaderSize) != static_cast<ssize_t>(kFrameHeaderSize)) {
        return false;
    }
    const std::size_t length = DecodeFrameHeader(frame.data()).bodyLength;
    frame.resize(kFrameHeaderSize + length);
    return stream.recv_n(frame.data() + kFrameHeaderSize, length) == static_cast<ssize_t>(length);
}

void Echo(ACE_SOCK_Stream& stream) {
    for (std::vector<char> frame; ReadFrame(stream, frame);) {
        stream.send_n(frame.data(), frame.size());
    }
}

/// Answers each frame by one byte.
void Acknowledge(ACE_SOCK_Stream& stream) {
    for (std::vector<char> frame; ReadFrame(stream, frame);) {
        stream.send_n("", 1);
    }
}

/// Answers each byte by a large plain frame.
void SendLargeFrames(ACE_SOCK_Stream& stream) {
    const FrameHeaderBytes header = EncodeFrameHeader({1, kLargeFrame, 0, true});
    std::vector<char> frame(header.begin(), header.end());
    frame.resize(kFrameHeaderSize + kLargeFrame);
    for (char byte = 0; stream.recv_n(&byte, 1) == 1;) {
        stream.send_n(frame.data(), frame.size());
    }
}

void KeyDerivation(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(FrameCipher());
    }
}
BENCHMARK(KeyDerivation)->Unit(benchmark::kMillisecond);

void Encipher(benchmark::State& state) {
    const FrameCipher cipher;
    const std::string plain(static_cast<std::size_t>(state.range(0)), 'p');
    for (auto _ : state) {
        benchmark::DoNotOptimize(cipher.Encipher(plain));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Encipher)->Arg(200)->Arg(64 << 10)->Arg(8 << 20);

void Decipher(benchmark::State& state) {
    const FrameCipher cipher;
    const std::string text =
        cipher.Encipher(std::string(static_cast<std::size_t>(state.range(0)), 'p'));
    for (auto _ : state) {
        benchmark::DoNotOptimize(cipher.Decipher(text));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Decipher)->Arg(200)->Arg(64 << 10)->Arg(8 << 20);

void RoundTripOfABareSocket(benchmark::State& state) {
    Peer peer(Echo);
    ACE_SOCK_Stream stream;
    ACE_SOCK_Connector().connect(stream, peer.Address());
    const FrameHeaderBytes header = EncodeFrameHeader({1, kSmallFrame, 0, true});
    std::vector<char> frame(header.begin(), header.end());
    frame.resize(kFrameHeaderSize + kSmallFrame);
    for (auto _ : state) {
        stream.send_n(frame.data(), frame.size());
        stream.recv_n(frame.data(), frame.size());
    }
    stream.close();
}
BENCHMARK(RoundTripOfABareSocket)->UseRealTime();

enum class Side { Blocking, Asynchronous };

bool RoundTrip(QXIO& io, Body& body, Side side, bool encipher) {
    char* data = nullptr;
    unsigned length = 0;
    unsigned typeCode = 0;
    bool enciphered = false;
    std::string plainText;
    if (side == Side::Blocking) {
        return io.Syc_sendobj(body, 1, encipher, false) == 0 &&
               io.Syc_receive_data(data, length, plainText, typeCode, enciphered) == 0;
    }
    return io.Asy_sendobj(body, 1, encipher) == 0 &&
           io.Asy_receive_data(data, length, plainText, typeCode, enciphered) == 0;
}

void RoundTripOfASmallFrame(benchmark::State& state, Side side, bool encipher) {
    Peer peer(Echo);
    QXIO io = Client(peer);
    Body body(kSmallFrame);
    for (auto _ : state) {
        if (!RoundTrip(io, body, side, encipher)) {
            state.SkipWithError("exchange failed");
            break;
        }
    }
}
BENCHMARK_CAPTURE(RoundTripOfASmallFrame, plain, Side::Blocking, false)->UseRealTime();
BENCHMARK_CAPTURE(RoundTripOfASmallFrame, enciphered, Side::Blocking, true)->UseRealTime();
BENCHMARK_CAPTURE(RoundTripOfASmallFrame, asynchronous, Side::Asynchronous, false)->UseRealTime();

void SendingLargeFrames(benchmark::State& state) {
    Peer peer(Acknowledge);
    QXIO io = Client(peer);
    Body body(kLargeFrame);
    for (auto _ : state) {
        char taken = 0;
        if (io.Syc_sendobj(body, 1, false, false) != 0 ||
            ACE_OS::recv(io.handle(), &taken, 1) != 1) {
            state.SkipWithError("send failed");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kLargeFrame));
}
BENCHMARK(SendingLargeFrames)->UseRealTime()->Unit(benchmark::kMillisecond);

void ReceivingLargeFrames(benchmark::State& state) {
    Peer peer(SendLargeFrames);
    ACE_SOCK_Stream stream;
    ACE_SOCK_Connector().connect(stream, peer.Address());
    {
        QXIO io(&stream, ACE_INET_Addr(static_cast<u_short>(0), "0.0.0.0", AF_INET));
        char* data = nullptr;
        unsigned length = 0;
        unsigned typeCode = 0;
        bool enciphered = false;
        std::string plainText;
        for (auto _ : state) {
            stream.send_n("", 1);
            if (io.Syc_receive_data(data, length, plainText, typeCode, enciphered) != 0) {
                state.SkipWithError("receive failed");
                break;
            }
        }
    }
    stream.close();
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kLargeFrame));
}
BENCHMARK(ReceivingLargeFrames)->UseRealTime()->Unit(benchmark::kMillisecond);

void LargeFramesOverABareSocket(benchmark::State& state) {
    Peer peer(SendLargeFrames);
    ACE_SOCK_Stream stream;
    ACE_SOCK_Connector().connect(stream, peer.Address());
    std::vector<char> frame(kFrameHeaderSize + kLargeFrame);
    for (auto _ : state) {
        stream.send_n("", 1);
        stream.recv_n(frame.data(), frame.size());
    }
    stream.close();
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kLargeFrame));
}
BENCHMARK(LargeFramesOverABareSocket)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
