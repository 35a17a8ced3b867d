// The database behind the server of a run.
#pragma once

#include <memory>
#include <string>

namespace qxdb_soak {

class Database {
  public:
    Database() = default;
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    virtual ~Database() = default;

    /// What the server is told to use; empty for the one it has by itself.
    virtual std::string Url() const { return {}; }
    /// Ends it with SIGKILL, all its processes, and starts it again.
    virtual void KillAndStart() {}
    /// The transactions that are open there, once nobody works: waits a while for them to end.
    virtual long OpenTransactions() { return 0; }
};

/// `kind` is sqlite, which lives in the server's process, postgresql or mariadb.
std::unique_ptr<Database> StartDatabase(const std::string& kind);

}  // namespace qxdb_soak
