// The transport's lines in the ACE log.
#pragma once

#include <ace/Log_Msg.h>

namespace CQXBASE {

/// Priority of every line but those of LM_ERROR: the union of two priorities, so that a mask with
/// either lets it through.
constexpr auto kTransportPriority = static_cast<ACE_Log_Priority>(LM_SHUTDOWN | LM_INFO);

/// `error` is what "%m" spells out. Wide text goes in as narrow text for "%C".
template <class... Args>
void LogLine(ACE_Log_Priority priority, int line, int opStatus, int error, const ACE_TCHAR* format,
             Args... args) {
    ACE_Log_Msg* log = ACE_Log_Msg::instance();
    log->conditional_set("qxio", line, opStatus, error);
    log->log(priority, format, args...);
}

}  // namespace CQXBASE
