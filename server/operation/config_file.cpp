#include "server/operation/config_file.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>
#include <vector>

#include <qxdb/QXDataSource.h>

#include "platform/files/access.h"
#include "server/log.h"
#include "server/operation/toml_values.h"
#include "server/server_error.h"
#include "util/ascii.h"
#include "util/text.h"

namespace CQXSERVER::operation {
namespace {

namespace fs = std::filesystem;

/// What the database managers take.
constexpr std::chrono::seconds kLongestStatement = std::chrono::hours(24);

/// A path counts from the file's folder, a URL's path too.
class Folder {
  public:
    explicit Folder(const std::string& file)
        : path_(fs::absolute(fs::u8path(file)).parent_path()) {}

    std::string Path(const std::string& path) const {
        return path.empty() ? path : (path_ / fs::u8path(path)).lexically_normal().u8string();
    }
    std::string Url(const std::string& url) const {
        const std::string scheme = "sqlite:";
        const std::string rest = url.substr(std::min(scheme.size(), url.size()));
        const auto begins = [&rest](const char* with) { return rest.rfind(with, 0) == 0; };
        const bool isPath =
            url.rfind(scheme, 0) == 0 && !begins("//") && !begins(":") && !begins("file:");
        return isPath ? scheme + Path(rest) : url;
    }

  private:
    fs::path path_;
};

Setter PathTo(std::string& target, const Folder& folder) {
    return [&target, &folder](const toml::node& node) {
        target = folder.Path(node.value_or(std::string()));
        return node.is_string();
    };
}

Setter LevelTo(std::string& target) {
    return [&target](const toml::node& node) {
        target = node.value_or(std::string());
        return IsLogLevel(target);
    };
}

Setter VersionTo(CQXDB::QXTlsVersion& target) {
    return [&target](const toml::node& node) {
        const std::string version = node.value_or(std::string());
        target = version == "1.2" ? CQXDB::QXTLS_1_2 : CQXDB::QXTLS_1_3;
        return version == "1.2" || version == "1.3";
    };
}

Setter KindsTo(std::vector<std::string>& target) {
    return [&target](const toml::node& node) {
        const std::vector<std::string> all = ClientDataSources().kinds;
        const toml::array* const array = node.as_array();
        target.clear();
        for (std::size_t i = 0; array != nullptr && i < array->size(); ++i) {
            target.push_back(array->get(i)->value_or(std::string()));
            if (std::find(all.begin(), all.end(), target.back()) == all.end()) {
                return false;
            }
        }
        return !target.empty();
    };
}

Setter LimitsTo(Limits& limits, const std::string& file) {
    return [&limits, &file](const toml::node& node) {
        const toml::table* const table = node.as_table();
        if (table != nullptr) {
            Apply(file, *table,
                  {{"max_frame_mib", NumberTo(limits.maxFrameBytes, kMiB)},
                   {"max_result_mib", NumberTo(limits.maxResultBytes, kMiB)},
                   {"max_buffered_mib", NumberTo(limits.maxBufferedBytes, kMiB)},
                   {"sqlite_memory_mib", NumberTo(limits.sqliteBytes, kMiB)},
                   {"max_connections", NumberTo(limits.maxConnections)},
                   {"max_sessions", NumberTo(limits.maxSessions)},
                   {"max_transactions", NumberTo(limits.maxTransactions)},
                   {"max_account_transactions", NumberTo(limits.maxTransactionsOfAccount)},
                   {"login_timeout_s", DurationTo(limits.loginTimeout)},
                   {"idle_timeout_s", DurationTo(limits.idleTimeout)},
                   {"request_timeout_s", DurationTo(limits.requestTimeout)},
                   {"min_bytes_per_second", NumberTo(limits.minBytesPerSecond)},
                   {"session_idle_s", DurationTo(limits.sessionIdle)},
                   {"session_lifetime_s", DurationTo(limits.sessionLifetime)},
                   {"transaction_idle_s", DurationTo(limits.transactionIdle)},
                   {"statement_timeout_s", DurationTo(limits.statementTimeout, kLongestStatement)},
                   {"grace_timeout_s", DurationTo(limits.graceTimeout)}});
        }
        return table != nullptr;
    };
}

/// A table keeps its keys sorted; the order of databases is the file's, since the first one counts.
std::vector<std::pair<std::string, const toml::node*>> InFileOrder(const toml::table& table) {
    std::vector<std::pair<std::string, const toml::node*>> entries;
    for (const auto& [key, node] : table) {
        entries.emplace_back(key.str(), &node);
    }
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
        return a.second->source().begin.line < b.second->source().begin.line;
    });
    return entries;
}

Setter DatabasesTo(ServerOptions& options, const Folder& folder) {
    return [&options, &folder](const toml::node& node) {
        const toml::table* const table = node.as_table();
        if (table == nullptr) {
            return false;
        }
        for (const auto& [name, url] : InFileOrder(*table)) {
            if (!url->is_string()) {
                return false;
            }
            SetDatabase(options, name, folder.Url(url->value_or(std::string())));
        }
        return true;
    };
}

std::string ReadAll(const std::string& path) {
    errno = 0;
    std::ifstream file(fs::u8path(path), std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file.is_open() || file.bad() || errno != 0) {
        const std::error_code why(errno != 0 ? errno : EIO, std::generic_category());
        throw OperatorError("can't read the configuration file '" + path + "': " + why.message());
    }
    return text.str();
}

toml::table Parse(const std::string& path) {
    try {
        return toml::parse(ReadAll(path), path);
    } catch (const toml::parse_error& e) {
        throw OperatorError(Where(path, e.source()) + std::string(e.description()));
    }
}

}  // namespace

void SetDatabase(ServerOptions& options, const std::string& name, const std::string& url) {
    const auto known = std::find_if(options.databases.begin(), options.databases.end(),
                                    [&name](const auto& each) { return each.first == name; });
    if (known != options.databases.end()) {
        known->second = url;
    } else {
        options.databases.emplace_back(name, url);
    }
}

bool HoldsPassword(const std::string& url) {
    CQXDB::QXDataSource described;
    std::wstring ignored;
    if (!CQXDB::QXDataSource::FromUrl(CQXBASE::Utf8ToWide(url), described, ignored)) {
        return false;
    }
    const std::string more =
        CQXBASE::UpperAscii(described.options + CQXBASE::WideToUtf8(described.connectionString));
    return !described.password.empty() || more.find("PWD=") != std::string::npos ||
           more.find("PASSWORD=") != std::string::npos;
}

std::vector<std::string> ReadConfigFile(const std::string& path, ServerOptions& options) {
    const Folder folder(path);
    Apply(path, Parse(path),
          {{"data", PathTo(options.dataDir, folder)},
           {"listen", TextTo(options.listen)},
           {"port_file", PathTo(options.portFile, folder)},
           {"log_level", LevelTo(options.logLevel)},
           {"allow_client_data_sources", FlagTo(options.clientDataSources.allowed)},
           {"client_data_source_kinds", KindsTo(options.clientDataSources.kinds)},
           {"client_data_source_folder", PathTo(options.clientDataSources.folder, folder)},
           {"tls_certificate", PathTo(options.tls.certificate, folder)},
           {"tls_key", PathTo(options.tls.key, folder)},
           {"tls_client_ca", PathTo(options.tls.clientCa, folder)},
           {"require_tls", FlagTo(options.tls.required)},
           {"tls_min_version", VersionTo(options.tls.minVersion)},
           {"tls_ciphers", TextTo(options.tls.ciphers)},
           {"tls_cipher_suites", TextTo(options.tls.cipherSuites)},
           {"workers", NumberTo(options.workers)},
           {"login_workers", NumberTo(options.loginWorkers)},
           {"databases", DatabasesTo(options, folder)},
           {"limits", LimitsTo(options.limits, path)}});
    const bool secret =
        std::any_of(options.databases.begin(), options.databases.end(),
                    [](const auto& database) { return HoldsPassword(database.second); });
    if (secret && CQXBASE::platform::files::OpenToOthers(fs::u8path(path))) {
        return {"'" + path + "' holds passwords, and others than its owner can read or change it"};
    }
    return {};
}

}  // namespace CQXSERVER::operation
