#include "cli/line_editor.h"

#include "cli/sql_scanner.h"

namespace CQXCLI {

bool IsWorthRemembering(const std::string& line) {
    const std::string upper = UpperAscii(line);
    return !line.empty() && line[0] != ' ' && upper.find("PASSWORD") == std::string::npos &&
           upper.find("IDENTIFIED") == std::string::npos;
}

}  // namespace CQXCLI
