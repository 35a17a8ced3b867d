#include "platform/text/string_table.h"

namespace CQXBASE::platform {

std::wstring TableString(unsigned /*id*/, const wchar_t* fallback) {
    return fallback;
}

}  // namespace CQXBASE::platform
