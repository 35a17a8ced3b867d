#include "cli/batch_error.h"

#include <Poco/NumberParser.h>

namespace CQXCLI {

BatchError ReadBatchError(const Answer& answer, std::size_t count) {
    BatchError untold{ErrorText(answer), count == 1 ? 0 : count};
    const std::string& text = answer.text;
    const std::string start = " (command ";
    const std::string end = " of " + std::to_string(count) + ")";
    const std::size_t at = text.rfind(start);
    if (at == std::string::npos || text.size() < at + start.size() + end.size() ||
        text.compare(text.size() - end.size(), end.size(), end) != 0) {
        return untold;
    }
    const std::size_t digits = at + start.size();
    unsigned number = 0;
    const bool read = Poco::NumberParser::tryParseUnsigned(
        text.substr(digits, text.size() - end.size() - digits), number);
    return read && number >= 1 && number <= count
               ? BatchError{ErrorText({answer.code, text.substr(0, at)}), number - 1}
               : untold;
}

}  // namespace CQXCLI
