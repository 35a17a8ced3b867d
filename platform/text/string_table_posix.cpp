#include "platform/text/string_table.h"

namespace CQXBASE::platform::text {

std::wstring TableString(unsigned /*id*/, const wchar_t* fallback) {
    return fallback;
}

}  // namespace CQXBASE::platform::text
