#include "ledger.h"

#include <algorithm>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <unistd.h>

namespace qxdb_soak {

std::string LedgerPath(const std::string& folder, int client) {
    return folder + "/ledger-" + std::to_string(client);
}

Ledger::Ledger(const std::string& folder, int client)
    : file_(open(LedgerPath(folder, client).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC,
                 0600)) {
    if (file_ < 0) {
        throw std::runtime_error("can't open a ledger in " + folder);
    }
}

Ledger::~Ledger() {
    close(file_);
}

void Ledger::Note(char kind, std::int64_t a, std::int64_t b) {
    const std::string line = kind + (" " + std::to_string(a)) + " " + std::to_string(b) + "\n";
    if (write(file_, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        throw std::runtime_error("can't write to a ledger");
    }
}

void Ledger::Tried(std::int64_t first, int count) {
    Note('T', first, count);
}
void Ledger::Acknowledged(std::int64_t first, int count) {
    Note('A', first, count);
}
void Ledger::Failed(long code) {
    Note('F', code, 0);
}
void Ledger::LoggedIn() {
    Note('L', 0, 0);
}
void Ledger::Missed() {
    Note('M', 0, 0);
}
void Ledger::Took(std::int64_t milliseconds) {
    Note('D', milliseconds, 0);
}
void Ledger::Holds(int sessions) {
    Note('H', sessions, 0);
}

void Account::Add(const std::string& folder, int client) {
    std::ifstream file(LedgerPath(folder, client));
    char kind = 0;
    std::int64_t a = 0;
    std::int64_t b = 0;
    while (file >> kind >> a >> b) {
        switch (kind) {
            case 'T':
                transactions[{client, a}].count = static_cast<int>(b);
                break;
            case 'A':
                transactions.at({client, a}).acknowledged = true;
                break;
            case 'F':
                ++failures[a];
                break;
            case 'L':
                ++logins;
                break;
            case 'M':
                ++missed;
                break;
            case 'D':
                longestCallMs = std::max(longestCallMs, a);
                break;
            case 'H':
                holds[client] = a;
                break;
            default:
                throw std::runtime_error("a ledger can't be read");
        }
    }
}

}  // namespace qxdb_soak
