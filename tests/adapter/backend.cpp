#include "tests/adapter/backend.h"

#include <stdexcept>
#include <utility>

#include "tests/objects/cdr_support.h"
#include "util/text.h"

namespace qxdb_test {

using namespace CQXDB;

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << outcome.code << ": " << CQXBASE::WideToUtf8(outcome.text);
}

template <typename Call>
Outcome Client::With(Call call) {
    const auto on = [&](auto&& manager) {
        manager.SetMaxResultBytes(maxResultBytes_);
        manager.SetSessionUser(sessionUser_);
        manager.SetCancellation(cancellation_);
        call(manager);
        return Outcome{manager.errNumber(), manager.errDesc()};
    };
    return poco_ ? on(DBMgrWithPOCO()) : on(DBMgr());
}

QXCommand Client::Command(const std::string& text, std::vector<QXValue> parameters) const {
    QXCommand command;
    command.SetTextUtf8(text);
    command.SetSysDataSrc(dataSource_);
    for (QXValue& value : parameters) {
        command.AddParam(std::move(value));
    }
    return command;
}

QXCommandList Client::List(std::vector<QXCommand> commands) const {
    QXCommandList list;
    list.SetSysDataSrc(dataSource_);
    for (QXCommand& command : commands) {
        list.Add(std::move(command));
    }
    return list;
}

Outcome Client::Execute(const std::string& text, std::vector<QXValue> parameters) {
    QXCommand command = Command(text, std::move(parameters));
    return With([&](auto& manager) { manager.Execute(&command); });
}

Outcome Client::Execute(std::vector<QXCommand> commands) {
    QXCommandList list = List(std::move(commands));
    return With([&](auto& manager) { manager.Execute(&list); });
}

Outcome Client::ExecuteReceived(std::vector<QXCommand> commands) {
    QXCommandList sent = List(std::move(commands));
    QXCommandList list;
    list.KeepColumns();
    if (!Decode(Encode(sent), list) || list.Columns() == nullptr) {
        throw std::runtime_error("the list doesn't come back in columns");
    }
    return With([&](auto& manager) { manager.Execute(&list); });
}

Outcome Client::Query(QXRecordset& rs, const std::string& text, std::vector<QXValue> parameters) {
    QXCommand command = Command(text, std::move(parameters));
    return With([&](auto& manager) { manager.OpenQuery(&command, rs); });
}

Outcome Client::Query(QXRecordset& rs, std::vector<QXCommand> commands) {
    QXCommandList list = List(std::move(commands));
    return With([&](auto& manager) { manager.OpenQuery(&list, rs); });
}

Outcome Client::Batch(QXRsList& out, std::vector<QXCommand> commands) {
    QXCommandList list = List(std::move(commands));
    return With([&](auto& manager) { manager.BatchQry(&list, out); });
}

Outcome Client::Connect() {
    return With([&](auto& manager) { manager.CanConnect(&dataSource_); });
}

void Client::CloseConn() {
    With([](auto& manager) { manager.CloseConn(); });
}

std::string Client::Rows(const std::string& text, std::vector<QXValue> parameters) {
    QXRecordset rs;
    const Outcome outcome = Query(rs, text, std::move(parameters));
    return outcome.ok() ? TextOf(rs) : CQXBASE::WideToUtf8(outcome.text);
}

std::string TextOf(const QXRecordset& rs) {
    std::string text;
    for (std::size_t row = 0; row < rs.RowCount(); ++row) {
        for (std::size_t column = 0; column < rs.ColumnCount(); ++column) {
            text += column == 0 ? "" : "|";
            text += rs.IsNull(row, column) ? "NULL" : rs.GetTextUtf8(row, column);
        }
        text += "\n";
    }
    return text;
}

}  // namespace qxdb_test
