#include "server/log.h"

#include <algorithm>
#include <iostream>

#include <Poco/AutoPtr.h>
#include <Poco/ConsoleChannel.h>
#include <Poco/Exception.h>
#include <Poco/FormattingChannel.h>
#include <Poco/PatternFormatter.h>

namespace CQXSERVER {

Poco::Logger& ServerLog() {
    static Poco::Logger& log = []() -> Poco::Logger& {
        Poco::Logger& made = Poco::Logger::get("qxdbserver");
        made.setLevel("none");
        return made;
    }();
    return log;
}

void StartLog(const std::string& level) {
    const Poco::AutoPtr<Poco::Formatter> format(
        new Poco::PatternFormatter("%Y-%m-%d %H:%M:%S.%iZ %p: %t"));
    const Poco::AutoPtr<Poco::Channel> console(new Poco::ConsoleChannel(std::cerr));
    const Poco::AutoPtr<Poco::Channel> formatted(new Poco::FormattingChannel(format, console));
    ServerLog().setChannel(formatted);
    ServerLog().setLevel(level);
}

bool IsLogLevel(const std::string& level) {
    try {
        Poco::Logger::parseLevel(level);
        return true;
    } catch (const Poco::InvalidArgumentException&) {
        return false;
    }
}

std::string Printable(std::string_view utf8) {
    std::string text(utf8);
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; }, '?');
    return text;
}

}  // namespace CQXSERVER
