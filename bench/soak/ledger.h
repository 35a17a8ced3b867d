// What the client processes note down, so that it survives their death, and what it adds up to.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace qxdb_soak {

/// One client's file. A note is one write to the end of the file, so a killed client leaves whole
/// notes; each also shows that the client is not stuck.
class Ledger {
  public:
    Ledger(const std::string& folder, int client);
    ~Ledger();
    Ledger(const Ledger&) = delete;
    Ledger& operator=(const Ledger&) = delete;

    /// Rows `first` to `first + count - 1` are about to be inserted in one transaction.
    void Tried(std::int64_t first, int count);
    /// The server has said that they were.
    void Acknowledged(std::int64_t first, int count);
    /// A call failed with this code.
    void Failed(long code);
    void LoggedIn();
    /// Acknowledged rows were not there when the client looked.
    void Missed();
    void Took(std::int64_t milliseconds);  ///< the longest call so far
    void Holds(int sessions);              ///< how many of an idle client's sessions are open

  private:
    void Note(char kind, std::int64_t a, std::int64_t b);

    int file_;
};

/// All clients' notes together.
struct Account {
    using Row = std::pair<int, std::int64_t>;  ///< client and number

    struct Transaction {
        int count = 0;
        bool acknowledged = false;
    };
    std::map<Row, Transaction> transactions;  ///< by their first row
    std::map<std::int64_t, long> failures;    ///< by code
    long logins = 0;
    long missed = 0;
    std::int64_t longestCallMs = 0;
    std::map<int, std::int64_t> holds;  ///< the last note of each idle client

    /// Reads the notes of client `client`.
    void Add(const std::string& folder, int client);
};

std::string LedgerPath(const std::string& folder, int client);

}  // namespace qxdb_soak
