#include "adapter/mysql/script.h"

#include "adapter/mysql/connection.h"
#include "adapter/parameter_count.h"
#include "adapter/statement_text.h"

namespace CQXDB::adapter::mysql {

MySqlScript::MySqlScript(MySqlConnection& connection, const std::string& text)
    : connection_(connection), text_(text) {}

void MySqlScript::Execute(const Parameters& parameters) {
    parameters.empty() ? RunText() : Prepared().Execute(parameters);
}

void MySqlScript::Query(const Parameters& parameters, const Page& page, QXRecordset& rs) {
    Prepared().Query(parameters, page, rs);
}

Statement& MySqlScript::Prepared() {
    if (!prepared_) {
        prepared_ = connection_.Prepare(text_);
    }
    return *prepared_;
}

void MySqlScript::RunText() {
    const SqlDialect& dialect = connection_.Dialect();
    CheckParameterCount(ToNative(text_, dialect, ParameterStyle::QuestionMark).parameters, 0);
    const bool wrap = !connection_.InTransaction() && SplitStatements(text_, dialect).size() > 1 &&
                      !HoldsTransactionControl(text_, dialect);
    if (wrap) {
        connection_.Begin(TransactionKind::Write);
    }
    connection_.RunText(text_);
    if (wrap) {
        connection_.Commit();
    }
}

}  // namespace CQXDB::adapter::mysql
