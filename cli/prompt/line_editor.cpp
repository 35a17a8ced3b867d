#include "cli/prompt/line_editor.h"

#include "util/ascii.h"

namespace CQXCLI::prompt {

using CQXBASE::UpperAscii;

bool IsWorthRemembering(const std::string& line) {
    const std::string upper = UpperAscii(line);
    return !line.empty() && line[0] != ' ' && upper.find("PASSWORD") == std::string::npos &&
           upper.find("IDENTIFIED") == std::string::npos;
}

}  // namespace CQXCLI::prompt
