#include "crowd.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <utility>

#include "ledger.h"
#include "tests/support/TempDir.h"

namespace qxdb_soak {
namespace {

namespace fs = std::filesystem;
using std::chrono::seconds;

constexpr seconds kPatience{60};

}  // namespace

Crowd::Crowd(const Plan& plan, std::string folder, std::uint16_t serverPort)
    : plan_(plan), folder_(std::move(folder)), serverPort_(serverPort) {
    members_.resize(static_cast<std::size_t>(plan.busy));
    for (int left = plan.idle; left > 0; left -= kIdleInOne) {
        members_.emplace_back();
        members_.back().sessions = std::min(left, kIdleInOne);
    }
    for (std::size_t client = 0; client < members_.size(); ++client) {
        Start(client);
    }
}

void Crowd::Start(std::size_t client) {
    Member& member = members_[client];
    member.process = std::make_unique<qxdb_test::ChildProcess>(
        plan_.program, std::vector<std::string>{plan_.server, "--client", std::to_string(client),
                                                "--life", std::to_string(member.life), "--folder",
                                                folder_, "--port", std::to_string(serverPort_),
                                                "--idle", std::to_string(member.sessions)});
}

void Crowd::KillAThird(std::mt19937& random) {
    std::vector<std::size_t> order(members_.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::shuffle(order.begin(), order.end(), random);
    order.resize((order.size() + 2) / 3);
    for (const std::size_t client : order) {
        members_[client].process->Kill();
        members_[client].process->Wait();
        ++members_[client].life;
        ++killed_;
        Start(client);
    }
}

std::string Crowd::Stuck() {
    std::string stuck;
    const auto oldest = fs::file_time_type::clock::now() - kPatience;
    for (std::size_t client = 0; client < members_.size(); ++client) {
        const fs::path ledger = LedgerPath(folder_, static_cast<int>(client));
        if (!members_[client].process->Running()) {
            stuck += " " + std::to_string(client) +
                     " (ended: " + members_[client].process->Errors() + ")";
        } else if (fs::exists(ledger) && fs::last_write_time(ledger) < oldest) {
            stuck += " " + std::to_string(client);
        }
    }
    return stuck;
}

bool Crowd::AllIdleThere() const {
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    while (std::chrono::steady_clock::now() < limit) {
        Account account;
        for (int client = plan_.busy; client < Count(); ++client) {
            account.Add(folder_, client);
        }
        const auto add = [](std::int64_t sum, const auto& each) { return sum + each.second; };
        if (std::accumulate(account.holds.begin(), account.holds.end(), std::int64_t{0}, add) ==
            plan_.idle) {
            return true;
        }
        std::this_thread::sleep_for(seconds(1));
    }
    return false;
}

std::string Crowd::Stop() {
    std::string late;
    qxdb_test::WriteFile(folder_ + "/stop", "");
    for (std::size_t client = 0; client < members_.size(); ++client) {
        try {
            if (members_[client].process->Wait(kPatience) != 0) {
                throw std::runtime_error(members_[client].process->Errors());
            }
        } catch (const std::runtime_error& error) {
            late += " " + std::to_string(client) + " (" + error.what() + ")";
        }
    }
    return late;
}

}  // namespace qxdb_soak
