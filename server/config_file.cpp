#include "server/config_file.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <sstream>

#include <toml++/toml.h>

#include "server/log.h"
#include "server/server_error.h"

namespace CQXSERVER {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using Setter = std::function<bool(const toml::node&)>;
using Setters = std::map<std::string, Setter>;

Setter TextTo(std::string& target) {
    return [&target](const toml::node& node) {
        target = node.value_or(std::string());
        return node.is_string();
    };
}

Setter FlagTo(bool& target) {
    return [&target](const toml::node& node) {
        target = node.value_or(false);
        return node.is_boolean();
    };
}

template <class Number>
Setter NumberTo(Number& target, std::size_t unit = 1) {
    constexpr std::int64_t kMost = 1000000000;
    return [&target, unit](const toml::node& node) {
        const std::int64_t number = node.value_exact<std::int64_t>().value_or(0);
        target = static_cast<Number>(static_cast<std::size_t>(number) * unit);
        return number > 0 && number <= kMost;
    };
}

/// Seconds, as a whole number or with a fraction.
Setter DurationTo(milliseconds& target) {
    constexpr double kMost = 1e9;
    return [&target](const toml::node& node) {
        const double seconds = node.is_number() ? node.value_or(0.0) : 0.0;
        const bool inRange = seconds >= 0.001 && seconds <= kMost;
        target = milliseconds(inRange ? static_cast<std::int64_t>(seconds * 1000) : 0);
        return inRange;
    };
}

[[noreturn]] void Refuse(const std::string& path, const toml::node& node, const std::string& what) {
    std::ostringstream text;
    text << path << ", line " << node.source().begin.line << ": " << what;
    throw OperatorError(text.str());
}

void Apply(const std::string& path, const toml::table& table, const Setters& setters) {
    for (const auto& [key, node] : table) {
        const std::string name(key.str());
        const auto setter = setters.find(name);
        if (setter == setters.end()) {
            Refuse(path, node, "unknown key '" + name + "'");
        }
        if (!setter->second(node)) {
            Refuse(path, node, "bad value for '" + name + "'");
        }
    }
}

Setters LimitSetters(Limits& limits) {
    return {{"max_frame_mib", NumberTo(limits.maxFrameBytes, kMiB)},
            {"max_result_mib", NumberTo(limits.maxResultBytes, kMiB)},
            {"max_buffered_mib", NumberTo(limits.maxBufferedBytes, kMiB)},
            {"max_connections", NumberTo(limits.maxConnections)},
            {"max_sessions", NumberTo(limits.maxSessions)},
            {"login_timeout_s", DurationTo(limits.loginTimeout)},
            {"idle_timeout_s", DurationTo(limits.idleTimeout)},
            {"request_timeout_s", DurationTo(limits.requestTimeout)},
            {"min_bytes_per_second", NumberTo(limits.minBytesPerSecond)},
            {"session_idle_s", DurationTo(limits.sessionIdle)},
            {"session_lifetime_s", DurationTo(limits.sessionLifetime)},
            {"grace_timeout_s", DurationTo(limits.graceTimeout)}};
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

std::string FromFolder(const fs::path& folder, const std::string& path) {
    return path.empty() ? path : (folder / fs::u8path(path)).lexically_normal().u8string();
}

std::string UrlFromFolder(const fs::path& folder, const std::string& url) {
    const std::string scheme = "sqlite:";
    const bool isFile = url.rfind(scheme, 0) == 0 && url != "sqlite::memory:";
    return isFile ? scheme + FromFolder(folder, url.substr(scheme.size())) : url;
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

void ReadConfigFile(const std::string& path, ServerOptions& options) {
    toml::table file;
    try {
        file = toml::parse_file(path);
    } catch (const toml::parse_error& e) {
        std::ostringstream text;
        text << path << ", line " << e.source().begin.line << ": " << e.description();
        throw OperatorError(text.str());
    }
    const fs::path folder = fs::absolute(fs::u8path(path)).parent_path();
    const auto readDatabases = [&](const toml::node& node) {
        const toml::table* const table = node.as_table();
        if (table == nullptr) {
            return false;
        }
        for (const auto& [name, url] : InFileOrder(*table)) {
            if (!url->is_string()) {
                Refuse(path, *url, "the URL of database '" + name + "' is no string");
            }
            SetDatabase(options, name, UrlFromFolder(folder, url->value_or(std::string())));
        }
        return true;
    };
    const auto readLimits = [&](const toml::node& node) {
        if (const toml::table* const table = node.as_table()) {
            Apply(path, *table, LimitSetters(options.limits));
            return true;
        }
        return false;
    };
    const auto readLevel = [&](const toml::node& node) {
        options.logLevel = node.value_or(std::string());
        return IsLogLevel(options.logLevel);
    };
    const std::string oldData = std::exchange(options.dataDir, {});
    const std::string oldPortFile = std::exchange(options.portFile, {});
    Apply(path, file,
          {{"data", TextTo(options.dataDir)},
           {"listen", TextTo(options.listen)},
           {"port_file", TextTo(options.portFile)},
           {"log_level", readLevel},
           {"allow_client_data_sources", FlagTo(options.allowClientDataSources)},
           {"workers", NumberTo(options.workers)},
           {"login_workers", NumberTo(options.loginWorkers)},
           {"databases", readDatabases},
           {"limits", readLimits}});
    options.dataDir = options.dataDir.empty() ? oldData : FromFolder(folder, options.dataDir);
    options.portFile =
        options.portFile.empty() ? oldPortFile : FromFolder(folder, options.portFile);
}

}  // namespace CQXSERVER
