// Values of a configuration file on their way into the options.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include <toml++/toml.h>

namespace CQXSERVER::operation {

/// Takes a value over; false when it is of the wrong kind or out of range.
using Setter = std::function<bool(const toml::node&)>;
/// What to do with each key of a table.
using Setters = std::map<std::string, Setter>;

// The targets are borrowed.
Setter TextTo(std::string& target);
Setter FlagTo(bool& target);
/// Seconds from 0.001 to `most`, as a whole number or with a fraction.
Setter DurationTo(std::chrono::milliseconds& target,
                  std::chrono::seconds most = std::chrono::seconds(1000000000));

/// A whole number from 1 to a billion, in units of `unit`.
template <class Number>
Setter NumberTo(Number& target, std::size_t unit = 1) {
    constexpr std::int64_t kMost = 1000000000;
    return [&target, unit](const toml::node& node) {
        const std::int64_t number = node.value_exact<std::int64_t>().value_or(0);
        target = static_cast<Number>(static_cast<std::size_t>(number) * unit);
        return number > 0 && number <= kMost;
    };
}

/// Hands every value of `table` to its setter. Throws OperatorError, with `file` and the line, for
/// a key without a setter and a value that its setter refuses.
void Apply(const std::string& file, const toml::table& table, const Setters& setters);

/// The error text for a place in a file.
std::string Where(const std::string& file, const toml::source_region& place);

}  // namespace CQXSERVER::operation
