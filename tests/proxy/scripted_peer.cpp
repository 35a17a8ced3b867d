#include "tests/proxy/scripted_peer.h"

#include <array>
#include <utility>

#include <ace/INET_Addr.h>
#include <ace/SOCK_Connector.h>
#include <gtest/gtest.h>

ScriptedPeer::ScriptedPeer(std::vector<Step> script, End end)
    : script_(std::move(script)), end_(end) {
    ACE_INET_Addr address(static_cast<unsigned short>(0), "127.0.0.1");
    EXPECT_EQ(0, acceptor_.open(address));
    EXPECT_EQ(0, acceptor_.get_local_addr(address));
    EXPECT_EQ(0, ACE_SOCK_Connector().connect(client_, address));
    EXPECT_EQ(0, acceptor_.accept(peer_));
    thread_ = std::thread([this] { Play(); });
}

ScriptedPeer::~ScriptedPeer() {
    Received();
    acceptor_.close();
}

const std::string& ScriptedPeer::Received() {
    client_.close();
    if (thread_.joinable()) {
        thread_.join();
    }
    return received_;
}

void ScriptedPeer::Play() {
    std::size_t total = 0;
    for (const Step& step : script_) {
        total += step.awaited;
        if (!ReceiveUpTo(total)) {
            break;
        }
        peer_.send_n(step.answer.data(), step.answer.size());
    }
    while (end_ == End::Listen && ReceiveUpTo(received_.size() + 1)) {
    }
    peer_.close();
}

/// False when the other side has closed before.
bool ScriptedPeer::ReceiveUpTo(std::size_t total) {
    std::array<char, 65536> piece{};
    while (received_.size() < total) {
        const ssize_t count = peer_.recv(piece.data(), piece.size());
        if (count <= 0) {
            return false;
        }
        received_.append(piece.data(), static_cast<std::size_t>(count));
    }
    return true;
}
