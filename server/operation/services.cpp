#include "server/operation/services.h"

#include <filesystem>
#include <system_error>

#include "server/log.h"
#include "server/requests/database_work.h"
#include "server/server_error.h"
#include "util/text.h"

namespace CQXSERVER::operation {
namespace {

namespace fs = std::filesystem;

/// How much more a request may take in memory than on its way: compressed columns grow.
constexpr std::size_t kDecodedTimes = 4;

void MakeDataDir(const std::string& dataDir) {
    if (dataDir.empty()) {
        throw OperatorError("no data folder given: use --data DIR");
    }
    const fs::path path = fs::u8path(dataDir);
    std::error_code error;
    if (fs::create_directories(path, error)) {
        fs::permissions(path, fs::perms::owner_all, error);
    }
    if (error || !fs::is_directory(path)) {
        throw OperatorError("can't make the data folder " + dataDir +
                            (error ? ": " + error.message() : std::string()));
    }
}

void AddDatabases(requests::DatabaseRegistry& registry, const ServerOptions& options) {
    for (const auto& [name, url] : options.databases) {
        registry.Add(name, url);
    }
    if (options.databases.empty()) {
        registry.Add("main", "sqlite:" + (fs::u8path(options.dataDir) / "main.db").u8string());
    }
    for (const auto& [name, dataSource] : registry.All()) {
        const requests::DatabaseAnswer answer = requests::Probe(dataSource);
        if (answer.code != 0) {
            LogWarning("database '", name,
                       "' can't be reached now: ", Printable(CQXBASE::WideToUtf8(answer.text)),
                       " (", answer.code, ")");
        }
    }
}

}  // namespace

std::string AccountStorePath(const std::string& dataDir) {
    MakeDataDir(dataDir);
    return (fs::u8path(dataDir) / "accounts.db").u8string();
}

Services::Services(const ServerOptions& options, const Clock& clock)
    : buffers(options.limits.maxBufferedBytes),
      encoder(buffers),
      accounts(AccountStorePath(options.dataDir)),
      databases(options.clientDataSources, options.limits.statementTimeout),
      sessions(options.limits, clock),
      throttle(clock),
      logins(
          accounts, sessions, throttle,
          [this](const std::string& wanted, const sessions::Account& account) {
              const std::string name = wanted.empty() ? databases.DefaultName(account) : wanted;
              return sessions::NamedDatabase{name, databases.Require(name, account)};
          },
          encoder),
      commands(logins, sessions, databases, encoder, options.limits.maxResultBytes),
      handler(logins, commands, sessions, encoder, kDecodedTimes * options.limits.maxFrameBytes) {
    AddDatabases(databases, options);
}

}  // namespace CQXSERVER::operation
