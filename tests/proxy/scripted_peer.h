// A peer on loopback that plays a proxy by a script.
#pragma once

#include <array>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <ace/SOCK_Stream.h>
#include <gtest/gtest.h>

#include "proxy/proxy_handshake.h"
#include "proxy/socket_io.h"
#include "tests/transport/loopback.h"

class ScriptedPeer {
  public:
    /// Waits for so many bytes, then answers.
    struct Step {
        std::size_t awaited;
        std::string answer;
    };
    enum class End { Listen, HangUp };

    /// Connects a socket to the peer, which plays its steps and then listens until the socket
    /// closes, or closes its side at once.
    explicit ScriptedPeer(std::vector<Step> script, End end = End::Listen) {
        thread_ = std::thread([this, script = std::move(script), end] { Play(script, end); });
    }
    ~ScriptedPeer() { Received(); }
    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;

    ACE_HANDLE Socket() const { return client_.get_handle(); }
    ACE_SOCK_Stream& Stream() { return client_; }
    /// Closes the socket and gives everything that the peer received on it.
    const std::string& Received() {
        client_.close();
        if (thread_.joinable()) {
            thread_.join();
        }
        return received_;
    }

  private:
    void Play(const std::vector<Step>& script, End end) {
        std::size_t total = 0;
        for (const Step& step : script) {
            total += step.awaited;
            while (received_.size() < total && ReceiveMore()) {
            }
            // The client may be gone already, which is no signal.
            CQXBASE::SendAll(peer_.get_handle(), step.answer.data(),
                             static_cast<int>(step.answer.size()));
        }
        while (end == End::Listen && ReceiveMore()) {
        }
        peer_.close();
    }
    /// False when the other side has closed.
    bool ReceiveMore() {
        std::array<char, 65536> piece{};
        const ssize_t count = peer_.recv(piece.data(), piece.size());
        received_.append(piece.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
        return count > 0;
    }

    CQXBASE::StreamPair pair_;
    ACE_SOCK_Stream& client_ = pair_.nearEnd;
    ACE_SOCK_Stream& peer_ = pair_.farEnd;
    std::string received_;
    std::thread thread_;
};

struct Answered {
    int result;
    std::wstring errText;
    std::string sent;
};

/// Runs the handshake against a proxy that awaits requests of these lengths and answers each.
inline Answered Ask(const CQXBASE::ProxyParam& proxy, const std::vector<ScriptedPeer::Step>& script,
                    const std::string& host = "10.1.2.3",
                    ScriptedPeer::End end = ScriptedPeer::End::Listen) {
    ScriptedPeer peer(script, end);
    Answered outcome{-1, L"old text", ""};
    outcome.result = CQXBASE::ProxyHandshake(proxy, peer.Socket(), host, 8080, outcome.errText);
    outcome.sent = peer.Received();
    return outcome;
}
