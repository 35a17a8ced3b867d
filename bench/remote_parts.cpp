#include "remote_parts.h"

#include <stdexcept>
#include <thread>

#include <ace/CDR_Stream.h>
#include <ace/INET_Addr.h>
#include <ace/Message_Block.h>
#include <ace/SOCK_Acceptor.h>
#include <ace/SOCK_Connector.h>

#include "timing.h"
#include "transport/frame.h"
#include "transport/frame_cipher.h"

namespace qxdb_bench {
namespace {

void Decode(const std::string& body, CQXBASE::QXIOBase& object) {
    ACE_Message_Block block(body.data(), body.size());
    block.wr_ptr(body.size());
    ACE_InputCDR in(&block, ACE_CDR::BYTE_ORDER_LITTLE_ENDIAN);
    if (object.fromCDR(in) == 0) {
        throw std::runtime_error("an encoding can't be decoded");
    }
}

/// Answers each `requestSize` bytes with `replySize` until the peer closes.
void Echo(ACE_SOCK_Acceptor& acceptor, std::size_t requestSize, std::size_t replySize) {
    ACE_SOCK_Stream peer;
    acceptor.accept(peer);
    std::string request(requestSize, '\0');
    const std::string reply(replySize, 'r');
    while (peer.recv_n(&request[0], requestSize) == static_cast<ssize_t>(requestSize)) {
        peer.send_n(reply.data(), replySize);
    }
    peer.close();
}

/// A peer that echoes, and the connection to it.
class EchoPeer {
  public:
    EchoPeer(std::size_t requestSize, std::size_t replySize)
        : request_(requestSize, 'q'), reply_(replySize, '\0') {
        if (acceptor_.open(ACE_INET_Addr(static_cast<u_short>(0), "127.0.0.1")) != 0) {
            throw std::runtime_error("no listening socket");
        }
        ACE_INET_Addr address;
        acceptor_.get_local_addr(address);
        server_ = std::thread([=] { Echo(acceptor_, requestSize, replySize); });
        ACE_SOCK_Connector().connect(stream_,
                                     ACE_INET_Addr(address.get_port_number(), "127.0.0.1"));
    }
    ~EchoPeer() {
        stream_.close();
        server_.join();
        acceptor_.close();
    }
    EchoPeer(const EchoPeer&) = delete;
    EchoPeer& operator=(const EchoPeer&) = delete;

    void Exchange() {
        stream_.send_n(request_.data(), request_.size());
        stream_.recv_n(&reply_[0], reply_.size());
    }

  private:
    std::string request_;
    std::string reply_;
    ACE_SOCK_Acceptor acceptor_;
    ACE_SOCK_Stream stream_;
    std::thread server_;
};

/// What no remote request can do without, in the rhythm of one: a peer that has slept through a
/// derivation wakes up more slowly than one that is asked again and again.
double SequenceSeconds(EchoPeer& peer, const std::string& request, const std::string& reply,
                       int runs) {
    const std::string replyOnTheWire = CQXBASE::FrameCipher().Encipher(reply);
    return Samples::Of(runs,
                       [&] {
                           CQXBASE::FrameCipher().Encipher(request);
                           peer.Exchange();
                           CQXBASE::FrameCipher().Decipher(replyOnTheWire);
                       })
        .Median();
}

double CipherSeconds(const std::string& body, int runs) {
    const CQXBASE::FrameCipher cipher;
    return Samples::Of(runs, [&] { cipher.Decipher(cipher.Encipher(body)); }).Median();
}

double CodecSeconds(CQXBASE::QXIOBase& object, CQXBASE::QXIOBase& empty, int runs) {
    return Samples::Of(runs, [&] { Decode(Encode(object), empty); }).Median();
}

std::size_t WireSize(const std::string& body) {
    const bool plain = body.size() > CQXBASE::kMaxEncipheredBody;
    return CQXBASE::kFrameHeaderSize +
           (plain ? body.size() : CQXBASE::FrameCipher::CipherLength(body.size()));
}

}  // namespace

std::string Encode(CQXBASE::QXIOBase& object) {
    ACE_OutputCDR out(object.size() + 1, ACE_CDR::BYTE_ORDER_LITTLE_ENDIAN);
    if (object.toCDR(out) == 0 || out.consolidate() != 0) {
        throw std::runtime_error("an object can't be encoded");
    }
    return {out.begin()->rd_ptr(), out.total_length()};
}

Parts Measure(CQXBASE::QXIOBase& request, CQXBASE::QXIOBase& emptyRequest, CQXBASE::QXIOBase& reply,
              CQXBASE::QXIOBase& emptyReply, int runs) {
    const std::string requestBody = Encode(request);
    const std::string replyBody = Encode(reply);
    Parts parts;
    parts.derivation = 2 * Samples::Of(runs, [] { const CQXBASE::FrameCipher derived; }).Median();
    parts.cipher = CipherSeconds(requestBody, runs) + CipherSeconds(replyBody, runs);
    EchoPeer peer(WireSize(requestBody), WireSize(replyBody));
    parts.socket = Samples::Of(runs, [&] { peer.Exchange(); }).Median();
    parts.sequence = SequenceSeconds(peer, requestBody, replyBody, runs);
    parts.encoding =
        CodecSeconds(request, emptyRequest, runs) + CodecSeconds(reply, emptyReply, runs);
    return parts;
}

}  // namespace qxdb_bench
