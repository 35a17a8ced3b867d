#include "adapter/mysql/script.h"

#include "adapter/mysql/connection.h"
#include "adapter/run_script.h"
#include "adapter/statement_checks.h"
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
    RunScript(connection_, SplitStatements(text_, dialect), [this] { connection_.RunText(text_); });
}

}  // namespace CQXDB::adapter::mysql
