// The server's log. Never given passwords, tokens, statements or URLs.
#pragma once

#include <exception>
#include <sstream>
#include <string>
#include <string_view>

#include <Poco/Logger.h>
#include <Poco/Message.h>

#include "util/printable.h"

namespace CQXSERVER {

enum class LogStyle {
    Service,  ///< time in UTC, level, text
    Command,  ///< what a command of an operator says: its name, level, text
};

/// Sends the log to standard error. Until then nothing is logged. A line for which there is no room
/// is lost, and the next one that can be written is led by how many were. When nobody reads the
/// stream, one line a minute waits for room, for a second.
void StartLog(const std::string& level, LogStyle style = LogStyle::Service);
/// fatal, critical, error, warning, notice, information, debug, trace or none.
bool IsLogLevel(const std::string& level);

Poco::Logger& ServerLog();

/// What a client sent as a part of a line, made printable, which takes memory only there.
struct Shown {
    std::string_view utf8;
};
inline std::ostream& operator<<(std::ostream& out, const Shown& text) {
    return out << CQXBASE::PrintableUtf8(text.utf8);
}

/// Writes the parts one behind the other as one line. Thread-safe. A line that can't be written,
/// for want of memory for example, is left out: nothing fails because of the log.
template <class... Parts>
void LogAt(Poco::Message::Priority level, const Parts&... parts) noexcept {
    try {
        Poco::Logger& log = ServerLog();
        if (log.is(level)) {
            std::ostringstream line;
            (line << ... << parts);
            log.log(Poco::Message(log.name(), line.str(), level));
        }
    } catch (const std::exception&) {  // there is no other place to tell it
    }
}
template <class... Parts>
void LogError(const Parts&... parts) {
    LogAt(Poco::Message::PRIO_ERROR, parts...);
}
template <class... Parts>
void LogWarning(const Parts&... parts) {
    LogAt(Poco::Message::PRIO_WARNING, parts...);
}
template <class... Parts>
void LogInformation(const Parts&... parts) {
    LogAt(Poco::Message::PRIO_INFORMATION, parts...);
}
template <class... Parts>
void LogDebug(const Parts&... parts) {
    LogAt(Poco::Message::PRIO_DEBUG, parts...);
}

}  // namespace CQXSERVER
