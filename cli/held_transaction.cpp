#include "cli/held_transaction.h"

#include <Poco/NumberParser.h>

namespace CQXCLI {

void HeldTransaction::Open(std::size_t line) {
    Drop();
    line_ = line;
    open_ = true;
}

void HeldTransaction::Add(const Statement& statement) {
    CQXDB::QXCommand command;
    command.SetTextUtf8(statement.text);
    list_.Add(std::move(command));
    lines_.push_back(statement.line);
}

void HeldTransaction::Drop() {
    list_.RemoveAll();
    lines_.clear();
    open_ = false;
}

Answer HeldTransaction::Run(Session& session, CQXDB::QXRsList& results) {
    open_ = false;
    return list_.Empty() ? Answer() : session.Batch(list_, results);
}

bool HeldTransaction::FindFailed(const Answer& answer, Statement& failed) const {
    const std::size_t index = FailedCommand(answer.text, list_.Count());
    if (index >= list_.Count()) {
        return false;
    }
    failed.text = list_.At(index).TextUtf8();
    failed.line = lines_[index];
    return true;
}

std::size_t FailedCommand(const std::string& errorText, std::size_t count) {
    const std::string end = " of " + std::to_string(count) + ")";
    const std::string start = "(command ";
    const std::size_t at = errorText.rfind(start);
    if (count == 1) {
        return 0;
    }
    if (at == std::string::npos || errorText.size() < at + start.size() + end.size() ||
        errorText.compare(errorText.size() - end.size(), end.size(), end) != 0) {
        return count;
    }
    unsigned number = 0;
    const std::size_t digits = at + start.size();
    const bool read = Poco::NumberParser::tryParseUnsigned(
        errorText.substr(digits, errorText.size() - end.size() - digits), number);
    return read && number >= 1 && number <= count ? number - 1 : count;
}

}  // namespace CQXCLI
