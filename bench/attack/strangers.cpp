#include <chrono>
#include <list>
#include <string>
#include <thread>
#include <vector>

#include "attacks.h"
#include "messages/type_codes.h"
#include "tests/support/Frame.h"

namespace qxdb_attack {
namespace {

using namespace CQXBASE;
using qxdb_test::RawClient;
using std::chrono::seconds;

constexpr std::size_t kMiB = std::size_t{1} << 20;

/// The header of a frame of this code that claims `claimed` bytes of body.
std::string Claim(std::uint32_t code, std::size_t claimed) {
    FrameHeader header;
    header.typeCode = code;
    header.bodyLength = static_cast<std::uint32_t>(claimed);
    const FrameHeaderBytes bytes = EncodeFrameHeader(header);
    return std::string(bytes.data(), bytes.size());
}

/// Sends as much as the server takes.
void Push(RawClient& client, const std::string& bytes) {
    try {
        client.SendBytes(bytes);
    } catch (const std::runtime_error&) {
        // The server has closed.
    }
}

/// Connections that claim much, send half of it and fall silent.
void HalfFrames(Target& target) {
    const std::string half(32 * kMiB, 'x');
    std::list<RawClient> silent;
    for (const std::uint32_t code : {kLogin, kVirtualLogout, kExecute, kSendText}) {
        for (int i = 0; i < 4; ++i) {
            silent.push_back(target.Connect());
            Push(silent.back(), Claim(code, 64 * kMiB) + half);
        }
    }
    std::this_thread::sleep_for(seconds(3));
}

/// Whole frames of separators, of every code that carries a text.
void Separators(Target& target) {
    std::string text;
    while (text.size() < 62 * kMiB) {
        text += std::string("|\0~\0|\0", 6);
    }
    const auto units = static_cast<std::uint32_t>(text.size() / 2);
    const std::string body = std::string(reinterpret_cast<const char*>(&units), 4) + text;
    for (const std::uint32_t code : {kVirtualLogout, kLogin, kVirtualLogin, kSendText, kCancel}) {
        AtOnce(8, [&](int) {
            RawClient client = target.Connect();
            client.SendBytes(Claim(code, body.size()) + body);
            client.Receive();
        });
    }
}

/// Logins whose clients don't wait for an answer.
void AbandonedLogins(Target& target) {
    QXOneString login(L"eve|~|secret");
    AtOnce(4, [&](int) {
        for (int i = 0; i < 400; ++i) {
            RawClient client = target.Connect();
            client.Send(kLogin, login, false);
            client.Close(true);
        }
    });
    std::this_thread::sleep_for(seconds(3));
}

/// Wrong passwords for accounts that there are, and that there are not.
void Guesses(Target& target) {
    AtOnce(30, [&](int thread) {
        const auto end = std::chrono::steady_clock::now() + seconds(8);
        while (std::chrono::steady_clock::now() < end) {
            const std::wstring user = thread % 3 == 0 ? L"eve" : L"user" + std::to_wstring(thread);
            target.Connect().CallString(kLogin, user + L"|~|guess");
        }
    });
}

/// More connections than there may be, each with several logins sent ahead.
void PipelinedLogins(Target& target) {
    QXOneString login(L"nobody|~|guess");
    std::string four;
    for (int i = 0; i < 4; ++i) {
        four += qxdb_test::MakeFrame(kLogin, qxdb_test::EncodeRecord(login), false);
    }
    std::list<RawClient> crowd;
    for (int i = 0; i < 800; ++i) {
        crowd.push_back(target.Connect());
        Push(crowd.back(), four);
    }
    std::this_thread::sleep_for(seconds(5));
}

}  // namespace

const std::vector<Attack>& AttacksOfStrangers() {
    static const std::vector<Attack> attacks = {
        {"half of large frames, then silence", HalfFrames},
        {"frames full of separators", Separators},
        {"logins that nobody waits for", AbandonedLogins},
        {"guessing from the user's own address", Guesses},
        {"logins sent ahead on every connection", PipelinedLogins},
    };
    return attacks;
}

}  // namespace qxdb_attack
