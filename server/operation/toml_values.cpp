#include "server/operation/toml_values.h"

#include "server/server_error.h"

namespace CQXSERVER::operation {

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

Setter DurationTo(std::chrono::milliseconds& target, std::chrono::seconds most) {
    return [&target, most](const toml::node& node) {
        const double seconds = node.is_number() ? node.value_or(0.0) : 0.0;
        const bool inRange = seconds >= 0.001 && seconds <= static_cast<double>(most.count());
        target = std::chrono::milliseconds(inRange ? static_cast<std::int64_t>(seconds * 1000) : 0);
        return inRange;
    };
}

void Apply(const std::string& file, const toml::table& table, const Setters& setters) {
    for (const auto& [key, node] : table) {
        const std::string name(key.str());
        const auto setter = setters.find(name);
        if (setter == setters.end()) {
            throw OperatorError(Where(file, node.source()) + "unknown key '" + name + "'");
        }
        if (!setter->second(node)) {
            throw OperatorError(Where(file, node.source()) + "bad value for '" + name + "'");
        }
    }
}

std::string Where(const std::string& file, const toml::source_region& place) {
    return file + ", line " + std::to_string(place.begin.line) + ": ";
}

}  // namespace CQXSERVER::operation
