#include "server/log.h"

#include <chrono>
#include <cstdint>
#include <mutex>

#include <Poco/AutoPtr.h>
#include <Poco/Channel.h>
#include <Poco/Exception.h>
#include <Poco/PatternFormatter.h>

#include "platform/console/error_stream.h"
#include "util/text.h"

namespace CQXSERVER {
namespace {

using std::chrono::steady_clock;

/// How long a line waits for a reader who leaves no room, and how long none does after that, so
/// that one who reads slowly, or never, doesn't slow the server down.
constexpr std::chrono::seconds kPatience{1};
constexpr std::chrono::minutes kImpatience{1};

/// Standard error. Holds nothing back, so that what was logged before a crash is there.
class ErrorStream : public Poco::Channel {
  public:
    explicit ErrorStream(const std::string& pattern)
        : format_(new Poco::PatternFormatter(pattern)) {}

    void log(const Poco::Message& message) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (lost_ > 0) {
            const Poco::Message note(message.getSource(),
                                     std::to_string(lost_) + " lines of the log were lost",
                                     Poco::Message::PRIO_WARNING);
            lost_ = Write(note) ? 0 : lost_;
        }
        lost_ += Write(message) ? 0 : 1;
    }

  private:
    bool Write(const Poco::Message& message) {
        std::string line;
        format_->format(message, line);
        // Ends the part of a line that there was room for.
        line.insert(0, broken_ ? "\n" : "");
        line += '\n';
        const bool patient = steady_clock::now() >= patientFrom_;
        const std::size_t written = CQXBASE::platform::console::WriteError(
            line, patient ? kPatience : std::chrono::seconds(0));
        broken_ = written == 0 ? broken_ : written < line.size();
        if (patient && written < line.size()) {
            patientFrom_ = steady_clock::now() + kImpatience;
        }
        return written == line.size();
    }

    Poco::AutoPtr<Poco::Formatter> format_;
    std::mutex mutex_;
    steady_clock::time_point patientFrom_ = steady_clock::now();
    std::uint64_t lost_ = 0;
    bool broken_ = false;  ///< what was written last is no whole line
};

}  // namespace

Poco::Logger& ServerLog() {
    static Poco::Logger& log = []() -> Poco::Logger& {
        Poco::Logger& made = Poco::Logger::get("qxdbserver");
        made.setLevel("none");
        return made;
    }();
    return log;
}

void StartLog(const std::string& level, LogStyle style) {
    const Poco::AutoPtr<Poco::Channel> stream(new ErrorStream(
        style == LogStyle::Service ? "%Y-%m-%d %H:%M:%S.%iZ %p: %t" : "%s: %p: %t"));
    ServerLog().setChannel(stream);
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

}  // namespace CQXSERVER
