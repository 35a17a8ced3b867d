#include "server/operation/services.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "server/log.h"
#include "server/requests/database_work.h"
#include "util/text.h"

namespace CQXSERVER::operation {
namespace {

namespace fs = std::filesystem;

/// How much more a request may take in memory than on its way: compressed columns grow.
constexpr std::size_t kDecodedTimes = 4;

/// Of a URL, what comes before its first colon: never a secret in one that was accepted.
void Introduce(const std::vector<std::pair<std::string, std::string>>& databases) {
    std::string list;
    for (const auto& [name, url] : databases) {
        list += (list.empty() ? "" : ", ") + name + " (" + url.substr(0, url.find(':')) + ")";
    }
    LogAt(Poco::Message::PRIO_NOTICE, "qxdbserver " QXDB_VERSION ", databases: ", list);
}

void AddDatabases(requests::DatabaseRegistry& registry, const ServerOptions& options) {
    auto databases = options.databases;
    if (databases.empty()) {
        databases.emplace_back("main",
                               "sqlite:" + (fs::u8path(options.dataDir) / "main.db").u8string());
    }
    for (const auto& [name, url] : databases) {
        registry.Add(name, url);
    }
    Introduce(databases);
    for (const auto& [name, dataSource] : registry.All()) {
        const requests::DatabaseAnswer answer = requests::Probe(dataSource);
        if (answer.code != 0) {
            LogWarning("database '", name, "' can't be reached now: ",
                       CQXBASE::PrintableUtf8(CQXBASE::WideToUtf8(answer.text)), " (", answer.code,
                       ")");
        }
    }
}

}  // namespace

Services::Services(const ServerOptions& options, const Clock& clock)
    : folder(options.dataDir),
      buffers(options.limits.maxBufferedBytes),
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
      running(canceller),
      transactions(options.limits, sessions, clock),
      commands(logins, sessions, databases, running, transactions, encoder,
               options.limits.maxResultBytes),
      handler(logins, commands, running, sessions, encoder,
              kDecodedTimes * options.limits.maxFrameBytes) {
    AddDatabases(databases, options);
}

}  // namespace CQXSERVER::operation
